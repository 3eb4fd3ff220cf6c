#include "TranscriptView.h"

#include "TranscriptPage.h"

#include <QContextMenuEvent>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QMenu>
#include <QMimeData>
#include <QWebEngineContextMenuRequest>

#include <algorithm>

namespace teskal {

namespace {

QList<QUrl> droppedFiles(const QDropEvent& event) {
    QList<QUrl> files = event.mimeData()->urls();
    files.removeIf([](const QUrl& url) { return !url.isLocalFile(); });
    return files;
}

/// Offers to copy files; anything else goes to the view around this one.
void offerCopy(QDropEvent& event) {
    if (droppedFiles(event).isEmpty() || !event.possibleActions().testFlag(Qt::CopyAction))
        return event.ignore();
    event.setDropAction(Qt::CopyAction);
    event.accept();
}

} // namespace

TranscriptView::TranscriptView(TranscriptPage& page, QWidget* parent) : QWebEngineView(parent) {
    setPage(&page);
    setAcceptDrops(true);
    setAccessibleName(tr("Conversation"));
}

void TranscriptView::contextMenuEvent(QContextMenuEvent* event) {
    // The menu key comes twice: from the window system, and as the page's own wish, which knows the place.
    const QWebEngineContextMenuRequest* request = lastContextMenuRequest();
    if (!request || event->reason() == QContextMenuEvent::Keyboard)
        return event->accept();
    auto* menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    if (!request->selectedText().isEmpty())
        menu->addAction(pageAction(QWebEnginePage::Copy));
    if (!request->linkUrl().isEmpty())
        menu->addAction(pageAction(QWebEnginePage::CopyLinkToClipboard));
    if (request->mediaType() == QWebEngineContextMenuRequest::MediaTypeImage)
        menu->addAction(pageAction(QWebEnginePage::CopyImageToClipboard));
    menu->addAction(pageAction(QWebEnginePage::SelectAll));
    menu->popup(event->globalPos());
}

// The engine's own handling would hand the drag to the page.

void TranscriptView::dragEnterEvent(QDragEnterEvent* event) {
    offerCopy(*event);
}

void TranscriptView::dragMoveEvent(QDragMoveEvent* event) {
    offerCopy(*event);
}

void TranscriptView::dragLeaveEvent(QDragLeaveEvent* event) {
    event->accept();
}

void TranscriptView::dropEvent(QDropEvent* event) {
    offerCopy(*event);
    if (event->isAccepted())
        Q_EMIT dropped(droppedFiles(*event));
}

} // namespace teskal
