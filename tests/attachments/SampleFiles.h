#pragma once

#include <QByteArray>
#include <QImage>

namespace teskal::test {

/// What makes any encoder give up: pixels without any pattern, the same ones every time.
QImage noise(int width, int height, QImage::Format format = QImage::Format_RGB32);

/// An image of four quarters: red, green, blue and white, row by row.
QImage quarters(int width, int height);
/// The colours of an image's quarters in that order, as in "RGBW"; "." for any other.
QByteArray quartersOf(const QImage& image);

/// \a image as a file of Qt's writer for \a format.
QByteArray encoded(const QImage& image, const char* format, int quality = -1);
/// \a image as a HEIC file, with EXIF data when \a exif is not empty, and told to be turned by 90 degrees to
/// the right when \a turned.
QByteArray heic(const QImage& image, const QByteArray& exif = {}, bool turned = false);

/// \a image as an AVIF file.
QByteArray avif(const QImage& image);
/// A HEIC file of one coded picture of 64 x 64 pixels from which it says that an image of \a side by \a side
/// is put together; 63 is true.
QByteArray heicGrid(quint16 side);

/// EXIF data that say nothing but \a orientation.
QByteArray exif(int orientation, bool bigEndian = false);
/// A JPEG file with EXIF data.
QByteArray withExif(QByteArray jpeg, const QByteArray& exif);
/// A JPEG file with comments that make it longer than \a size bytes.
QByteArray padded(QByteArray jpeg, qsizetype size);

/// A GIF of two frames of one pixel, red, then white, with a comment of about \a comment bytes.
QByteArray animatedGif(qsizetype comment = 0);
/// A WebP of two frames of \a image.
QByteArray animatedWebp(const QImage& image);

/// A small file of \a format (png, jpeg, webp, gif, tiff, heic) that declares 60,000 x 60,000 pixels (WebP:
/// 16,383, the most that it can).
QByteArray bomb(const QByteArray& format);

} // namespace teskal::test
