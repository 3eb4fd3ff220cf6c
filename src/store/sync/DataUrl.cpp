#include "DataUrl.h"

#include <QCryptographicHash>

namespace teskal {

namespace {

constexpr QLatin1String scheme("data:");
constexpr QLatin1String marker(";base64,");

} // namespace

bool isDataUrl(const QString& url) {
    return url.startsWith(scheme);
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

std::optional<InlineFile> decodedDataUrl(const QString& url) {
    const qsizetype at = isDataUrl(url) ? url.indexOf(marker) : -1;
    if (at < 0)
        return std::nullopt;
    const auto decoded = QByteArray::fromBase64Encoding(QStringView(url).mid(at + marker.size()).toLatin1(),
                                                        QByteArray::AbortOnBase64DecodingErrors);
    if (!decoded)
        return std::nullopt;
    InlineFile file;
    file.mediaType = dataUrlType(url);
    file.bytes = *decoded;
    QCryptographicHash hash(QCryptographicHash::Sha256);
    hash.addData(file.mediaType.toUtf8());
    hash.addData(QByteArrayView("\0", 1));
    hash.addData(file.bytes);
    file.hash = hash.result();
    return file;
}

} // namespace teskal
