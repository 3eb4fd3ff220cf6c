#pragma once

#include <QImage>

#include <optional>

class QIODevice;

namespace teskal {

/// The main image of a HEIF file (HEIC, AVIF) in \a device, which can seek, upright and with 8 bits a
/// channel. None when it does not decode or says that it has more than \a mostPixels, which is known before
/// anything is decoded. Any thread.
std::optional<QImage> readHeic(QIODevice& device, qint64 mostPixels);

} // namespace teskal
