#include "Base64.h"

#include <array>

namespace teskal {

namespace {

constexpr quint8 noDigit = 0xff;

constexpr char16_t alphabet[] = u"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

constexpr std::array<quint8, 256> digits = [] {
    std::array<quint8, 256> values{};
    values.fill(noDigit);
    for (quint8 value = 0; value < 64; ++value)
        values[quint8(alphabet[value])] = value;
    return values;
}();

/// \a text without its padding; none when its length is that of no base64.
std::optional<QStringView> withoutPadding(QStringView text) {
    if (text.size() % 4 == 0)
        text.chop(text.endsWith(u"==") ? 2 : text.endsWith(u'=') ? 1 : 0);
    return text.size() % 4 == 1 ? std::nullopt : std::optional(text);
}

/// The value of a digit in the low 6 bits; more bits for what is none.
quint32 digit(QChar c) {
    return c.unicode() > 0xff ? noDigit : digits[c.unicode()];
}

} // namespace

bool isBase64(QStringView text) {
    const std::optional<QStringView> body = withoutPadding(text);
    if (!body)
        return false;
    // Without a branch in the loop, so that the compiler does many characters at once.
    quint16 bad = 0;
    for (const QChar each : *body) {
        const quint16 c = each.unicode();
        const bool isLetter = quint16((c | 0x20) - 'a') < 26;
        const bool isDigit = quint16(c - '0') < 10;
        bad = quint16(bad | !(isLetter | isDigit | (c == '+') | (c == '/')));
    }
    return bad == 0;
}

std::optional<QByteArray> decodeBase64(QStringView text) {
    const std::optional<QStringView> body = withoutPadding(text);
    if (!body)
        return std::nullopt;
    const qsizetype rest = body->size() % 4;
    QByteArray bytes(body->size() / 4 * 3 + (rest == 0 ? 0 : rest - 1), Qt::Uninitialized);
    const QChar* from = body->data();
    char* to = bytes.data();
    quint32 seen = 0;
    for (const QChar* const end = from + (body->size() - rest); from != end; from += 4, to += 3) {
        const quint32 a = digit(from[0]), b = digit(from[1]), c = digit(from[2]), d = digit(from[3]);
        seen |= a | b | c | d;
        const quint32 group = a << 18 | b << 12 | c << 6 | d;
        to[0] = char(group >> 16);
        to[1] = char(group >> 8);
        to[2] = char(group);
    }
    if (rest != 0) {
        const quint32 a = digit(from[0]), b = digit(from[1]), c = rest == 3 ? digit(from[2]) : 0;
        seen |= a | b | c;
        to[0] = char(a << 2 | b >> 4);
        if (rest == 3)
            to[1] = char(b << 4 | c >> 2);
    }
    return seen < 64 ? std::optional(bytes) : std::nullopt;
}

void appendBase64(QByteArrayView bytes, QString& text) {
    const qsizetype rest = bytes.size() % 3;
    const qsizetype begin = text.size();
    text.resize(begin + (bytes.size() + 2) / 3 * 4);
    const auto* from = reinterpret_cast<const uchar*>(bytes.data());
    auto* to = reinterpret_cast<char16_t*>(text.data()) + begin;
    for (const uchar* const end = from + (bytes.size() - rest); from != end; from += 3, to += 4) {
        const quint32 group = quint32(from[0]) << 16 | quint32(from[1]) << 8 | from[2];
        to[0] = alphabet[group >> 18];
        to[1] = alphabet[group >> 12 & 63];
        to[2] = alphabet[group >> 6 & 63];
        to[3] = alphabet[group & 63];
    }
    if (rest != 0) {
        const quint32 group = quint32(from[0]) << 16 | (rest == 2 ? quint32(from[1]) << 8 : 0);
        to[0] = alphabet[group >> 18];
        to[1] = alphabet[group >> 12 & 63];
        to[2] = rest == 2 ? alphabet[group >> 6 & 63] : u'=';
        to[3] = u'=';
    }
}

} // namespace teskal
