#pragma once

#include <QByteArrayView>
#include <QImage>

namespace teskal {

/// How a camera was held, as its EXIF data (which are a TIFF file without an image) say: 1 to 8 (TIFF 6.0,
/// "Orientation"); 1, upright, when they say nothing that makes sense.
int exifOrientation(QByteArrayView tiff);

/// \a image, taken with a camera held that way, as it looks upright.
QImage upright(const QImage& image, int orientation);

} // namespace teskal
