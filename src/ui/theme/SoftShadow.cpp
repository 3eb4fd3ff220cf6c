#include "SoftShadow.h"

#include <QImage>
#include <QPainter>

#include <algorithm>
#include <cmath>

namespace teskal {

namespace {

constexpr double drop = 4;
constexpr double reach = softShadowReach - drop;

/// How dark it is \a distance pixels outside the card's outline: as under nested shapes whose alphas add up
/// to a falloff close to a Gaussian's.
double shade(double distance, double darkness) {
    constexpr int layers = 16;
    double light = 1;
    for (int layer = layers; layer > 0; --layer) {
        const double share = static_cast<double>(layer) / layers;
        const double covered = std::clamp(share * reach - distance + 0.5, 0.0, 1.0);
        light *= 1 - darkness * (1 - share) * 2 / layers * covered;
    }
    return 1 - light;
}

/// The upper left corner, \a side pixels high and wide, as far as where the straight edges begin.
QImage cornerImage(int side, double radius, double darkness, double pixelRatio) {
    const int count = static_cast<int>(std::ceil(side * pixelRatio));
    QImage image(count, count, QImage::Format_ARGB32_Premultiplied);
    const auto inward = [&](int pixel) { return std::max(reach + radius - (pixel + 0.5) / pixelRatio, 0.0); };
    for (int y = 0; y < count; ++y) {
        auto* const line = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = 0; x < count; ++x) {
            const double alpha = shade(std::hypot(inward(x), inward(y)) - radius, darkness);
            line[x] = qRgba(0, 0, 0, static_cast<int>(std::lround(alpha * 255)));
        }
    }
    return image;
}

} // namespace

// An image of one corner, mirrored and drawn out, and not sixteen shapes as large as the card: the toolkit
// shares such shapes out among threads, and waking those takes longer than all the rest.
void paintSoftShadow(QPainter& painter, const QRectF& card, double radius, bool dark, double strength) {
    const double side = std::ceil(reach + radius);
    const QImage corner = cornerImage(static_cast<int>(side), radius, (dark ? 0.42 : 0.045) * strength,
                                      painter.device()->devicePixelRatioF());
    const QRectF all = card.adjusted(-reach, -reach, reach, reach).translated(0, drop);
    const QRectF whole = corner.rect();
    const QRectF column(whole.width() - 1, 0, 1, whole.height());
    const QRectF row(0, whole.height() - 1, whole.width(), 1);
    const double wide = all.width() - 2 * side;
    const double high = all.height() - 2 * side;
    for (const bool right : {false, true}) {
        const double x = right ? all.right() - side : all.left();
        for (const bool below : {false, true})
            painter.drawImage(QRectF(x, below ? all.bottom() - side : all.top(), side, side),
                              corner.mirrored(right, below), whole);
        painter.drawImage(QRectF(x, all.top() + side, side, high), corner.mirrored(right, false), row);
    }
    painter.drawImage(QRectF(all.left() + side, all.top(), wide, side), corner, column);
    painter.drawImage(QRectF(all.left() + side, all.bottom() - side, wide, side),
                      corner.mirrored(false, true), column);
}

} // namespace teskal
