#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

namespace teskal {

/// Whether \a text is base64 (RFC 4648, section 4), with its padding or without any. Any thread.
bool isBase64(QStringView text);
/// The bytes that \a text stands for; none when it is not base64. Many times faster than Qt's decoder, which
/// takes 10 ms a megabyte. Any thread.
std::optional<QByteArray> decodeBase64(QStringView text);

/// Appends \a bytes to \a text as base64, with padding. Any thread.
void appendBase64(QByteArrayView bytes, QString& text);

} // namespace teskal
