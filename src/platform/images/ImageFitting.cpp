#include "ImageFitting.h"

#include "JpegEncoding.h"
#include "PngEncoding.h"

#include <QColorSpace>
#include <QPainter>

#include <algorithm>
#include <array>

namespace teskal {

namespace {

constexpr int longestSide = 2'560; // pixels
constexpr std::array qualities{85, 70, 50};

} // namespace

QImage scaledDown(const QImage& image, int longest) {
    const double factor = double(longest) / std::max(image.width(), image.height());
    if (factor >= 1)
        return image;
    const auto side = [factor](int pixels) { return std::max(1, qRound(pixels * factor)); };
    const QSize size(side(image.width()), side(image.height()));
    // In other formats scaling takes three times as long.
    const bool hasAlpha = image.hasAlphaChannel();
    QImage scaled =
        image.convertToFormat(hasAlpha ? QImage::Format_ARGB32_Premultiplied : QImage::Format_RGB32)
            .scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    scaled.setColorSpace(image.colorSpace());
    return scaled;
}

QImage flatten(const QImage& image) {
    if (!image.hasAlphaChannel())
        return image;
    QImage flat(image.size(), QImage::Format_RGB32);
    flat.fill(Qt::white);
    QPainter painter(&flat);
    painter.drawImage(QPoint(0, 0), image);
    painter.end();
    flat.setColorSpace(image.colorSpace());
    return flat;
}

std::optional<ImageFile> fitImage(const QImage& image, qint64 limit, const std::stop_token& stop) {
    if (auto png = encodePng(image, limit, stop))
        return ImageFile{*png, QStringLiteral("image/png"), QStringLiteral("png")};
    if (stop.stop_requested())
        return std::nullopt;
    const QImage smaller = flatten(scaledDown(image, longestSide));
    for (const int quality : qualities) {
        if (stop.stop_requested())
            return std::nullopt;
        if (auto jpeg = encodeJpeg(smaller, quality, limit))
            return ImageFile{*jpeg, QStringLiteral("image/jpeg"), QStringLiteral("jpg")};
    }
    return std::nullopt;
}

} // namespace teskal
