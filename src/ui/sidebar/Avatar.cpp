#include "Avatar.h"

#include "theme/Theme.h"

#include <QImage>
#include <QPainter>
#include <QPainterPath>
#include <QTextBoundaryFinder>

#include <algorithm>

namespace teskal::Avatar {

namespace {

QString firstLetter(const QString& word) {
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, word);
    const qsizetype end = finder.toNextBoundary();
    return end > 0 ? word.left(end).toUpper() : QString();
}

} // namespace

QString initials(const QString& name) {
    const QStringList words = name.simplified().split(QLatin1Char(' '), Qt::SkipEmptyParts);
    if (words.isEmpty())
        return {};
    return words.size() == 1 ? firstLetter(words.constFirst())
                             : firstLetter(words.constFirst()) + firstLetter(words.constLast());
}

void paint(QPainter& painter, const QRectF& rect, const QString& name, const Theme& theme) {
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(theme.ink().fg);
    painter.drawEllipse(rect);
    painter.setPen(theme.ink().page);
    QFont font = theme.font(TextRole::Group);
    painter.setFont(font);
    painter.drawText(rect, Qt::AlignCenter, initials(name));
    painter.restore();
}

void paint(QPainter& painter, const QRectF& rect, const QImage& picture) {
    const qsizetype side = std::min(picture.width(), picture.height());
    const QRectF middle(double(picture.width() - side) / 2, double(picture.height() - side) / 2, double(side),
                        double(side));
    QPainterPath disc;
    disc.addEllipse(rect);
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.setClipPath(disc);
    painter.drawImage(rect, picture, middle);
    painter.restore();
}

} // namespace teskal::Avatar
