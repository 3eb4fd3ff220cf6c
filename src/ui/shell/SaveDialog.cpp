#include "SaveDialog.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileDialog>
#include <QStandardPaths>

namespace teskal {

Completion<std::optional<QString>> askWhereToSave(QWidget* window, const QString& suggestedName) {
    const auto choice = std::make_shared<CompletionSource<std::optional<QString>>>();
    const QDir downloads(QStandardPaths::writableLocation(QStandardPaths::DownloadLocation));
    auto* dialog = new QFileDialog(window, QCoreApplication::translate("SaveDialog", "Save"));
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setObjectName(QStringLiteral("saveDialog"));
    dialog->setAcceptMode(QFileDialog::AcceptSave);
    dialog->setFileMode(QFileDialog::AnyFile);
    dialog->setDirectory(downloads.exists() ? downloads : QDir::home());
    dialog->selectFile(suggestedName);
    QObject::connect(dialog, &QFileDialog::finished, dialog, [dialog, choice](int result) {
        const QStringList files = dialog->selectedFiles();
        const bool isChosen = result == QDialog::Accepted && !files.isEmpty();
        choice->succeed(isChosen ? std::optional(files.first()) : std::nullopt);
    });
    dialog->open();
    return choice->completion();
}

} // namespace teskal
