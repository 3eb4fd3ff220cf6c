#pragma once

class QPainter;
class QRectF;

/// The identity provider's mark: a rounded square in its colour.
namespace teskal::PassholdMark {

void paint(QPainter& painter, const QRectF& rect);

} // namespace teskal::PassholdMark
