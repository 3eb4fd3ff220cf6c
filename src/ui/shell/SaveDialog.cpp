#include "SaveDialog.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileDialog>
#include <QStandardPaths>

#include <functional>
#include <memory>

namespace teskal {

Completion<std::optional<QString>> askWhereToSave(QWidget* window, const QString& suggestedName,
                                                  std::stop_token stop) {
    const auto choice = std::make_shared<CompletionSource<std::optional<QString>>>();
    const QDir downloads(QStandardPaths::writableLocation(QStandardPaths::DownloadLocation));
    auto* dialog = new QFileDialog(window, QCoreApplication::translate("SaveDialog", "Save"));
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setObjectName(QStringLiteral("saveDialog"));
    dialog->setAcceptMode(QFileDialog::AcceptSave);
    dialog->setFileMode(QFileDialog::AnyFile);
    dialog->setDirectory(downloads.exists() ? downloads : QDir::home());
    dialog->selectFile(suggestedName);
    // Goes with the connection, which goes with the dialog.
    const auto closing = std::make_shared<std::stop_callback<std::function<void()>>>(
        std::move(stop), [dialog] { dialog->reject(); });
    QObject::connect(dialog, &QFileDialog::finished, dialog, [dialog, choice, closing](int result) {
        const QStringList files = dialog->selectedFiles();
        const bool isChosen = result == QDialog::Accepted && !files.isEmpty();
        choice->succeed(isChosen ? std::optional(files.first()) : std::nullopt);
    });
    dialog->open();
    return choice->completion();
}

} // namespace teskal
