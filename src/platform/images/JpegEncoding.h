#pragma once

#include <QByteArray>
#include <QImage>

#include <optional>

namespace teskal {

/// \a image as a JPEG file of \a quality 0 to 100; none when that has more than \a limit bytes. What is
/// transparent becomes black: flatten() it before. Any thread.
std::optional<QByteArray> encodeJpeg(const QImage& image, int quality, qint64 limit);

} // namespace teskal
