#include "SoftShadow.h"

#include <QPainter>
#include <QPainterPath>

namespace teskal {

// Nested rounded rectangles whose alphas add up to a falloff close to a Gaussian's: no blur, no cached image.
void paintSoftShadow(QPainter& painter, const QRectF& card, double radius, bool dark, double strength) {
    constexpr int layers = 16;
    constexpr double drop = 4;
    const double darkness = (dark ? 0.42 : 0.045) * strength;
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    for (int layer = layers; layer > 0; --layer) {
        const double share = static_cast<double>(layer) / layers;
        const double spread = share * (softShadowReach - drop);
        const double weight = (1 - share) * 2 / layers;
        painter.setBrush(QColor::fromRgbF(0, 0, 0, static_cast<float>(darkness * weight)));
        const QRectF shape = card.adjusted(-spread, -spread, spread, spread).translated(0, drop);
        painter.drawRoundedRect(shape, radius + spread, radius + spread);
    }
    painter.restore();
}

} // namespace teskal
