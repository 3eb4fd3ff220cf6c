#pragma once

#include <QColor>
#include <QIcon>

class QPainter;
class QRectF;

namespace teskal {

struct Ink;

/// The application's mark: many lines that become one, ending in the accent's dot, on a rounded square.
namespace TeskalMark {

/// Paints the mark into the square \a rect, its ground in the foreground colour of \a ink.
void paint(QPainter& painter, const QRectF& rect, const Ink& ink);

/// The window icon, in sizes from 16 to 256 pixels; the same in both looks.
QIcon icon();

} // namespace TeskalMark
} // namespace teskal
