#pragma once

#include <QByteArrayView>

#include <optional>

namespace teskal {

/// A part of a resource, in bytes; both ends belong to it.
struct ByteRange {
    qint64 first = 0;
    qint64 last = 0;

    qint64 count() const { return last - first + 1; }

    friend bool operator==(const ByteRange&, const ByteRange&) = default;
};

/// What the "Range" \a header (RFC 9110, section 14.2; null when there is none) asks of a resource of \a
/// count bytes. Of several ranges only the first counts. None when the whole resource is to be sent, which is
/// also the answer to a range that is malformed or lies outside.
std::optional<ByteRange> range(QByteArrayView header, qint64 count);

/// Whether \a header asks for one range, and that begins behind a resource of \a count bytes.
bool asksBeyond(QByteArrayView header, qint64 count);

} // namespace teskal
