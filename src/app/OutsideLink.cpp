#include "OutsideLink.h"

#include <QUrl>

#include <algorithm>
#include <array>

namespace teskal {

namespace {

/// As one part of a link: whatever some program could take for a separator is escaped.
QByteArray escaped(QByteArrayView part, const QByteArray& kept = {}) {
    return QByteArray::fromPercentEncoding(part.toByteArray()).toPercentEncoding(kept);
}

bool isKeptField(const QByteArray& name) {
    constexpr std::array kept{"to", "cc", "subject", "body"};
    return std::find(kept.begin(), kept.end(), name.toLower()) != kept.end();
}

/// RFC 6068, section 2.
QString mailLink(const QUrl& link) {
    QByteArrayList fields;
    for (const QByteArray& field : link.query(QUrl::FullyEncoded).toLatin1().split('&')) {
        const qsizetype end = field.indexOf('=');
        const QByteArray name = end < 0 ? QByteArray() : escaped(field.first(end));
        if (isKeptField(name))
            fields.append(name + '=' + escaped(field.sliced(end + 1), "@,"));
    }
    const QByteArray to = escaped(link.path(QUrl::FullyEncoded).toLatin1(), "@,");
    return QString::fromLatin1("mailto:" + to + (fields.isEmpty() ? "" : "?") + fields.join('&'));
}

} // namespace

std::optional<QString> outsideLink(const QString& link) {
    const QUrl url(link, QUrl::StrictMode);
    const QString scheme = url.scheme();
    if (scheme == QLatin1String("https") || scheme == QLatin1String("http"))
        return link;
    if (scheme == QLatin1String("mailto"))
        return mailLink(url);
    return std::nullopt;
}

} // namespace teskal
