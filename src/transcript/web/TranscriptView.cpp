#include "TranscriptView.h"

#include "TranscriptPage.h"

#include <QContextMenuEvent>
#include <QMenu>
#include <QWebEngineContextMenuRequest>

namespace teskal {

TranscriptView::TranscriptView(TranscriptPage& page, QWidget* parent) : QWebEngineView(parent) {
    setPage(&page);
    setAcceptDrops(false);
    setAccessibleName(tr("Conversation"));
}

void TranscriptView::contextMenuEvent(QContextMenuEvent* event) {
    const QWebEngineContextMenuRequest* request = lastContextMenuRequest();
    auto* menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    if (request && !request->selectedText().isEmpty())
        menu->addAction(pageAction(QWebEnginePage::Copy));
    if (request && !request->linkUrl().isEmpty())
        menu->addAction(pageAction(QWebEnginePage::CopyLinkToClipboard));
    if (request && request->mediaType() == QWebEngineContextMenuRequest::MediaTypeImage)
        menu->addAction(pageAction(QWebEnginePage::CopyImageToClipboard));
    menu->addAction(pageAction(QWebEnginePage::SelectAll));
    menu->popup(event->globalPos());
}

} // namespace teskal
