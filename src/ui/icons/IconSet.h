#pragma once

#include <QColor>
#include <QHash>
#include <QPixmap>
#include <QStringList>

class QPainter;
class QRectF;

namespace teskal {

/// The outlines of the interface, asked for by symbol name ("arrow.up") and painted in whatever colour the
/// caller reads from Ink. Pictures are kept per name, size, device pixel ratio and colour.
class IconSet {
public:
    IconSet();

    /// Every symbol name that can be painted.
    [[nodiscard]] static QStringList symbols();

    /// A square picture with \a size logical pixels a side; null for an unknown symbol.
    [[nodiscard]] QPixmap pixmap(const QString& symbol, int size, const QColor& colour,
                                 double devicePixelRatio) const;

    /// Paints the symbol in the middle of \a rect, on whole device pixels. What points to a side of the
    /// window points to the other one where \a painter's layout runs from right to left.
    void paint(QPainter& painter, const QRectF& rect, const QString& symbol, int size,
               const QColor& colour) const;

private:
    mutable QHash<QString, QPixmap> cache_;
};

} // namespace teskal
