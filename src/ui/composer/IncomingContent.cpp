#include "IncomingContent.h"

#include <QMimeData>
#include <QTextDocumentFragment>

#include <algorithm>

namespace teskal {

namespace {

QList<QUrl> localFiles(const QMimeData& data) {
    QList<QUrl> files = data.urls();
    files.removeIf([](const QUrl& url) { return !url.isLocalFile(); });
    return files;
}

} // namespace

// Files come with their paths as text, and images with the words they stand for: the richer form wins.
IncomingContent::Kind IncomingContent::kindOf(const QMimeData& data) {
    if (data.hasUrls() && !localFiles(data).isEmpty())
        return Kind::Files;
    if (data.hasImage())
        return Kind::Image;
    return data.hasText() || data.hasHtml() ? Kind::Text : Kind::Nothing;
}

IncomingContent IncomingContent::read(const QMimeData& data) {
    IncomingContent content;
    content.kind = kindOf(data);
    switch (content.kind) {
    case Kind::Files:
        content.files = localFiles(data);
        break;
    case Kind::Image:
        content.image = qvariant_cast<QImage>(data.imageData());
        break;
    case Kind::Text:
        content.text = textOf(data);
        break;
    case Kind::Nothing:
        break;
    }
    return content;
}

QString IncomingContent::textOf(const QMimeData& data) {
    if (data.hasText())
        return data.text();
    QString text = QTextDocumentFragment::fromHtml(data.html()).toPlainText();
    return text.remove(QChar::ObjectReplacementCharacter);
}

} // namespace teskal
