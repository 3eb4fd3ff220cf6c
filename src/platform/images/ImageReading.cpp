#include "ImageReading.h"

#include "HeicReading.h"
#include "HeifBoxes.h"

#include <QImageReader>
#include <QtEndian>

#include <algorithm>
#include <array>

namespace teskal {

namespace {

/// Qt refuses images beyond a limit for the whole process, by default one that photos of today exceed. Ours
/// are judged by their dimensions; this is for the deepest of them, 8 bytes a pixel.
void liftQtsLimit(qint64 mostPixels) {
    const auto megabytes = int(mostPixels * 8 / 1'000'000);
    if (const int limit = QImageReader::allocationLimit(); limit != 0 && limit < megabytes)
        QImageReader::setAllocationLimit(megabytes);
}

/// What Qt reads as pixels. Its plugins for SVG and PDF would draw, for as long as the file likes, and open
/// what the file names.
bool isPixelFormat(const QByteArray& format) {
    constexpr std::array formats{"png", "jpeg", "jpg",  "webp", "gif", "tiff", "tif", "bmp",  "dib",
                                 "ico", "cur",  "icns", "ppm",  "pgm", "pbm",  "xbm", "wbmp", "tga"};
    return std::find(formats.begin(), formats.end(), format.toLower()) != formats.end();
}

/// How large a GIF file says its screen is: what its frames are painted on, where the reader tells the size
/// of the first frame. Empty for another file.
QSize gifScreen(QIODevice& device) {
    const QByteArray start = device.peek(10);
    if (start.size() < 10 || !start.startsWith("GIF8"))
        return {};
    return {qFromLittleEndian<quint16>(start.constData() + 6),
            qFromLittleEndian<quint16>(start.constData() + 8)};
}

/// The size that the image of \a reader, which has read nothing yet, has before it is turned; none when it is
/// not for us.
std::optional<QSize> acceptedSize(const QImageReader& reader, qint64 mostPixels) {
    const QSize screen = gifScreen(*reader.device());
    const QSize size = isPixelFormat(reader.format()) ? reader.size() : QSize();
    const QSize whole = size.expandedTo(screen);
    const bool fits = !size.isEmpty() && qint64(whole.width()) * whole.height() <= mostPixels;
    return fits ? std::optional(size) : std::nullopt;
}

std::optional<QImage> read(QImageReader& reader, qint64 mostPixels) {
    liftQtsLimit(mostPixels);
    QImage image = reader.read();
    return image.isNull() ? std::nullopt : std::optional(std::move(image));
}

QSize covering(QSize size, QSize box) {
    const QSize scaled = size.scaled(box, Qt::KeepAspectRatioByExpanding);
    return scaled.width() < size.width() ? scaled : size;
}

} // namespace

std::optional<QImage> readImage(QIODevice& device, qint64 mostPixels) {
    if (isHeif(device))
        return readHeic(device, mostPixels);
    QImageReader reader(&device);
    reader.setAutoTransform(true);
    return acceptedSize(reader, mostPixels) ? read(reader, mostPixels) : std::nullopt;
}

std::optional<QImage> readImageCovering(QIODevice& device, qint64 mostPixels, QSize box) {
    QImageReader reader(&device);
    reader.setAutoTransform(true);
    const std::optional<QSize> size = acceptedSize(reader, mostPixels);
    if (!size)
        return std::nullopt;
    const bool lies = reader.transformation().testFlag(QImageIOHandler::TransformationRotate90);
    reader.setScaledSize(covering(*size, lies ? box.transposed() : box));
    return read(reader, mostPixels);
}

} // namespace teskal
