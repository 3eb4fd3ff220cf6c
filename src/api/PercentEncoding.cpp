#include "PercentEncoding.h"

#include <QStringDecoder>

namespace teskal {

namespace {

bool isHexDigit(char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

} // namespace

QByteArray queryValue(const QString& text) {
    // QByteArray leaves exactly the unreserved characters of RFC 3986 literal.
    return text.toUtf8().toPercentEncoding();
}

std::optional<QString> percentDecoded(QByteArrayView encoded) {
    for (qsizetype at = 0; at < encoded.size(); ++at) {
        if (encoded[at] != '%')
            continue;
        if (at + 2 >= encoded.size() || !isHexDigit(encoded[at + 1]) || !isHexDigit(encoded[at + 2]))
            return std::nullopt;
        at += 2;
    }
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString decoded = decoder.decode(QByteArray::fromPercentEncoding(encoded.toByteArray()));
    return decoder.hasError() ? std::nullopt : std::optional(decoded);
}

} // namespace teskal
