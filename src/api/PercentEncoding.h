#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

namespace teskal {

/// \a text for a query string or path segment: only ASCII letters, digits and "-._~" stay literal, every
/// other byte of its UTF-8 form becomes %XX.
QByteArray queryValue(const QString& text);

/// The text that \a encoded stands for; none when a "%" is not followed by two hexadecimal digits or the
/// result is not UTF-8.
std::optional<QString> percentDecoded(QByteArrayView encoded);

} // namespace teskal
