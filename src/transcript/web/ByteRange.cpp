#include "ByteRange.h"

#include <algorithm>
#include <limits>

namespace teskal {

namespace {

/// \a digits as a number; what is too large for one is as good as the largest.
std::optional<qint64> decimal(QByteArrayView digits) {
    constexpr qint64 largest = std::numeric_limits<qint64>::max();
    if (digits.isEmpty())
        return std::nullopt;
    qint64 value = 0;
    for (const char c : digits) {
        if (c < '0' || c > '9')
            return std::nullopt;
        const int digit = c - '0';
        value = value > (largest - digit) / 10 ? largest : value * 10 + digit;
    }
    return value;
}

constexpr QByteArrayView unit("bytes=");

std::optional<ByteRange> suffix(QByteArrayView length, qint64 count) {
    const auto wanted = decimal(length);
    if (!wanted || *wanted == 0)
        return std::nullopt;
    return ByteRange{std::max<qint64>(count - *wanted, 0), count - 1};
}

} // namespace

std::optional<ByteRange> range(QByteArrayView header, qint64 count) {
    if (count < 1 || !header.startsWith(unit))
        return std::nullopt;
    QByteArrayView wanted = header.sliced(unit.size());
    if (const qsizetype comma = wanted.indexOf(','); comma >= 0)
        wanted = wanted.first(comma);
    const qsizetype dash = wanted.indexOf('-');
    if (dash < 0 || wanted.lastIndexOf('-') != dash)
        return std::nullopt;
    const QByteArrayView end = wanted.sliced(dash + 1);
    if (dash == 0)
        return suffix(end, count);
    const auto first = decimal(wanted.first(dash));
    const auto last = end.isEmpty() ? count - 1 : decimal(end);
    if (!first || *first >= count || !last || *last < *first)
        return std::nullopt;
    return ByteRange{*first, std::min(*last, count - 1)};
}

bool asksBeyond(QByteArrayView header, qint64 count) {
    // In a resource as large as can be, a range lies wherever it says.
    const auto wanted = range(header, std::numeric_limits<qint64>::max());
    const bool isSuffix = wanted && header.sliced(unit.size()).startsWith('-');
    return wanted && !isSuffix && !header.contains(',') && wanted->first >= count;
}

} // namespace teskal
