#include "AttachPanel.h"

#include <QDir>
#include <QStandardPaths>

namespace teskal {

namespace {

QUrl picturesFolder() {
    const QDir pictures(QStandardPaths::writableLocation(QStandardPaths::PicturesLocation));
    return QUrl::fromLocalFile(pictures.exists() ? pictures.path() : QDir::homePath());
}

} // namespace

AttachPanel::AttachPanel(QWidget& owner, const QStringList& patterns)
    : QObject(&owner), owner_(owner),
      filter_(QStringLiteral("%1 (%2)").arg(tr("Images and PDFs"), patterns.join(QLatin1Char(' ')))),
      folder_(picturesFolder()) {}

void AttachPanel::open() {
    if (dialog_) {
        dialog_->raise();
        dialog_->activateWindow();
        return;
    }
    dialog_ = new QFileDialog(owner_.window(), tr("Attach images or PDFs (up to 8 MB each)"));
    dialog_->setObjectName(QStringLiteral("attachPanel"));
    dialog_->setAttribute(Qt::WA_DeleteOnClose);
    dialog_->setAcceptMode(QFileDialog::AcceptOpen);
    dialog_->setFileMode(QFileDialog::ExistingFiles);
    dialog_->setOption(QFileDialog::HideNameFilterDetails);
    dialog_->setNameFilter(filter_);
    dialog_->setDirectoryUrl(folder_);
    // Qt's own dialog tells of file names and the desktop's of addresses; both end with this.
    connect(dialog_, &QFileDialog::finished, this, [this](int result) {
        if (result != QDialog::Accepted || dialog_->selectedUrls().isEmpty())
            return;
        folder_ = dialog_->directoryUrl();
        Q_EMIT chosen(dialog_->selectedUrls());
    });
    dialog_->open();
}

} // namespace teskal
