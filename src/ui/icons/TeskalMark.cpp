#include "TeskalMark.h"

#include "theme/Ink.h"

#include <QPainter>
#include <QPainterPath>
#include <QPixmap>

#include <algorithm>

namespace teskal::TeskalMark {

namespace {

constexpr double meetingX = 0.60;
constexpr double dotX = 0.705;
constexpr double middle = 0.5;

QPainterPath strand(const QRectF& square, double startX, double startY) {
    const auto at = [&](double x, double y) {
        return QPointF(square.left() + x * square.width(), square.top() + y * square.height());
    };
    QPainterPath path(at(startX, startY));
    path.cubicTo(at(0.44, startY), at(0.42, middle), at(meetingX, middle));
    return path;
}

} // namespace

void paint(QPainter& painter, const QRectF& rect, const Ink& ink) {
    const double side = std::min(rect.width(), rect.height());
    const QRectF square(rect.center().x() - side / 2, rect.center().y() - side / 2, side, side);
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(ink.fg);
    painter.drawRoundedRect(square, side * 0.25, side * 0.25);

    // Below 24 pixels the lines keep a weight that the eye can still follow.
    const double weight = std::max(side * 0.062, std::min(1.5, side * 0.095));
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(ink.page, weight, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    for (const double startY : {0.27, middle, 0.73})
        painter.drawPath(strand(square, 0.23, startY));

    painter.setPen(Qt::NoPen);
    painter.setBrush(ink.accent);
    const double dot = std::max(side * 0.115, std::min(2.2, side * 0.14));
    painter.drawEllipse(QPointF(square.left() + dotX * side, square.top() + middle * side), dot, dot);
    painter.restore();
}

QIcon icon() {
    QIcon icon;
    for (const int side : {16, 22, 24, 32, 48, 64, 128, 256}) {
        QPixmap picture(side, side);
        picture.fill(Qt::transparent);
        QPainter painter(&picture);
        paint(painter, QRectF(0, 0, side, side), Ink::light());
        painter.end();
        icon.addPixmap(picture);
    }
    return icon;
}

} // namespace teskal::TeskalMark
