#include "DataUrl.h"

#include "Base64.h"

#include <QCryptographicHash>

namespace teskal {

namespace {

constexpr QLatin1String scheme("data:");
constexpr QLatin1String marker(";base64,");

} // namespace

bool isDataUrl(const QString& url) {
    return url.startsWith(scheme);
}

QString dataUrlOf(const QString& mediaType, QByteArrayView bytes) {
    const QString head = scheme + mediaType + marker;
    QString url;
    url.reserve(head.size() + (bytes.size() + 2) / 3 * 4);
    url += head;
    appendBase64(bytes, url);
    return url;
}

QString dataUrlType(const QString& url) {
    if (!isDataUrl(url))
        return {};
    const QStringView rest = QStringView(url).mid(scheme.size());
    qsizetype end = 0;
    while (end < rest.size() && rest[end] != u';' && rest[end] != u',')
        ++end;
    return rest.first(end).trimmed().toString().toLower();
}

std::optional<QStringView> dataUrlBase64(const QString& url) {
    const qsizetype at = isDataUrl(url) ? url.indexOf(marker) : -1;
    return at < 0 ? std::nullopt : std::optional(QStringView(url).mid(at + marker.size()));
}

std::optional<QByteArray> dataUrlBytes(const QString& url) {
    const std::optional<QStringView> base64 = dataUrlBase64(url);
    return base64 ? decodeBase64(*base64) : std::nullopt;
}

std::optional<InlineFile> decodedDataUrl(const QString& url) {
    std::optional<QByteArray> bytes = dataUrlBytes(url);
    if (!bytes)
        return std::nullopt;
    InlineFile file;
    file.mediaType = dataUrlType(url);
    file.bytes = std::move(*bytes);
    QCryptographicHash hash(QCryptographicHash::Sha256);
    hash.addData(file.mediaType.toUtf8());
    hash.addData(QByteArrayView("\0", 1));
    hash.addData(file.bytes);
    file.hash = hash.result();
    return file;
}

} // namespace teskal
