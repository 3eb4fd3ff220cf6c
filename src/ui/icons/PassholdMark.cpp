#include "PassholdMark.h"

#include <QPainter>

namespace teskal::PassholdMark {

void paint(QPainter& painter, const QRectF& rect) {
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(0x63, 0x66, 0xF1));
    painter.drawRoundedRect(rect, rect.width() * 0.28, rect.height() * 0.28);
    painter.restore();
}

} // namespace teskal::PassholdMark
