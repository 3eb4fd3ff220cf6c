#include "Thumbnail.h"

#include "DataUrl.h"
#include "ImageReading.h"

#include <QBuffer>

namespace teskal {

namespace {

constexpr qint64 mostPixels = 33'000'000;

} // namespace

QImage thumbnail(const QString& dataUrl, QSize box) {
    const bool isImage = dataUrlType(dataUrl).startsWith(QLatin1String("image/"));
    std::optional<QByteArray> bytes = isImage ? dataUrlBytes(dataUrl) : std::nullopt;
    if (!bytes)
        return {};
    QBuffer device(&*bytes);
    device.open(QIODevice::ReadOnly);
    return readImageCovering(device, mostPixels, box).value_or(QImage());
}

} // namespace teskal
