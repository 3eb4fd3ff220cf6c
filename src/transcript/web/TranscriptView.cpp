#include "TranscriptView.h"

#include "TranscriptPage.h"

#include <QChildEvent>
#include <QContextMenuEvent>
#include <QMenu>
#include <QWebEngineContextMenuRequest>

namespace teskal {

TranscriptView::TranscriptView(TranscriptPage& page, QWidget* parent) : QWebEngineView(parent) {
    setPage(&page);
    setAcceptDrops(false); // the engine would hand what is dropped to the page
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

void TranscriptView::childEvent(QChildEvent* event) {
    QWebEngineView::childEvent(event);
    // What the engine draws into would take drops by itself.
    if (!event->removed() && event->child()->isWidgetType())
        static_cast<QWidget*>(event->child())->setAcceptDrops(false);
}

} // namespace teskal
