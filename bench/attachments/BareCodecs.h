#pragma once

#include <QImage>
#include <QString>

namespace teskal::bench {

/// The file at \a path as Qt's plugin for its format decodes it, with nothing else.
QImage decodeWithQt(const QString& path);
/// The main image of a HEIC file as libheif decodes it, as rows of red, green and blue.
QImage decodeWithLibheif(const QString& path);

/// What making \a image fit has to do at least: libpng until the limit is passed, scaling, one JPEG. Returns
/// the bytes of the JPEG.
qsizetype packBare(const QImage& image);

} // namespace teskal::bench
