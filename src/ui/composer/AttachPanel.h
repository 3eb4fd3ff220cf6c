#pragma once

#include <QFileDialog>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QStringList>
#include <QUrl>

namespace teskal {

/// The dialog in which the user picks files for the message. There is one at a time, and it blocks nothing
/// but its window.
class AttachPanel : public QObject {
    Q_OBJECT

public:
    /// The dialog shows files whose names match \a patterns ("*.png") and belongs to the window of \a owner,
    /// which owns the panel.
    AttachPanel(QWidget& owner, const QStringList& patterns);

    /// Shows the dialog, or brings the one that is open to the front.
    void open();

Q_SIGNALS:
    /// The user picked \a files, in the order of the dialog.
    void chosen(const QList<QUrl>& files);

private:
    QWidget& owner_;
    QString filter_;
    QUrl folder_; ///< where files were picked last
    QPointer<QFileDialog> dialog_;
};

} // namespace teskal
