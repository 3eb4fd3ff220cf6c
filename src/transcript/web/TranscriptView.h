#pragma once

#include <QList>
#include <QUrl>
#include <QWebEngineView>

namespace teskal {

class TranscriptPage;

/// The page in the window. It takes files that are dropped on it, and nothing else; its menu holds only what
/// makes sense for text.
class TranscriptView final : public QWebEngineView {
    Q_OBJECT

public:
    /// \a page must outlive the view.
    explicit TranscriptView(TranscriptPage& page, QWidget* parent = nullptr);

Q_SIGNALS:
    /// The user dropped \a files of this machine on the transcript.
    void dropped(const QList<QUrl>& files);

protected:
    void contextMenuEvent(QContextMenuEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragMoveEvent(QDragMoveEvent* event) override;
    void dragLeaveEvent(QDragLeaveEvent* event) override;
    void dropEvent(QDropEvent* event) override;
};

} // namespace teskal
