#pragma once

class QPainter;
class QRectF;

namespace teskal {

/// Paints the one soft shadow of floating surfaces around the rounded rectangle \a card, which the caller
/// paints over it afterwards. \a strength 0...1 scales its darkness.
void paintSoftShadow(QPainter& painter, const QRectF& card, double radius, bool dark, double strength = 1);

/// How far the shadow reaches beyond the card, in pixels.
inline constexpr int softShadowReach = 22;

} // namespace teskal
