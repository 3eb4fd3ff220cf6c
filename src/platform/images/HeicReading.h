#pragma once

#include <QImage>

#include <optional>

class QIODevice;

namespace teskal {

/// The main image of a HEIC file in \a device, which can seek, upright and with 8 bits a channel. None when
/// it does not decode or says that it has more than \a mostPixels, which is known before anything is decoded;
/// and none when it is coded otherwise than as HEVC (AVIF), for the size of such pictures is not known
/// before. Any thread.
std::optional<QImage> readHeic(QIODevice& device, qint64 mostPixels);

} // namespace teskal
