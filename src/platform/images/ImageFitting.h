#pragma once

#include <QByteArray>
#include <QImage>
#include <QString>

#include <optional>
#include <stop_token>

namespace teskal {

/// An image file in memory.
struct ImageFile {
    QByteArray bytes;
    QString mediaType; ///< MIME type
    QString extension; ///< that file names get
};

/// \a image with at most \a longest pixels on its longer side, in the same proportions.
QImage scaledDown(const QImage& image, int longest);
/// \a image on white, without transparency.
QImage flatten(const QImage& image);

/// \a image as a file of at most \a limit bytes: a PNG, else a JPEG of at most 2,560 pixels on the longer
/// side, as good as fits. None when nothing fits, or soon after \a stop is set. Any thread.
std::optional<ImageFile> fitImage(const QImage& image, qint64 limit, const std::stop_token& stop = {});

} // namespace teskal
