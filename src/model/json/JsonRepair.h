#pragma once

#include <QByteArray>

namespace teskal::json {

/// A copy of \a text in which what strict parsers reject, but senders write, is made readable: bytes that are
/// not UTF-8 and lone surrogate escapes become U+FFFD, numbers too large for a double become null, and
/// integers longer than 64 bits become doubles. Everything else is untouched; broken syntax stays broken.
QByteArray repaired(QByteArrayView text);

} // namespace teskal::json
