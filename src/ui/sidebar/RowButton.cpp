#include "RowButton.h"

#include "theme/Metrics.h"
#include "theme/Theme.h"

#include <QPainter>
#include <QStyle>

namespace teskal {

namespace {

constexpr int inset = 10;
constexpr int gap = 10;

} // namespace

RowButton::RowButton(const Theme& theme, QString systemImage, const QString& text, QWidget* parent)
    : InkButton(theme, parent), systemImage_(std::move(systemImage)) {
    setText(text);
    setFixedHeight(metrics::row);
}

QSize RowButton::sizeHint() const {
    return {fontMetrics().horizontalAdvance(text()) + metrics::icon + 2 * inset + gap, metrics::row};
}

void RowButton::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const Ink& ink = theme().ink();
    painter.setPen(Qt::NoPen);
    painter.setBrush(isDown() ? ink.selected() : ink.tint(0.05 * hoverAmount()));
    painter.drawRoundedRect(rect(), metrics::radiusSmall, metrics::radiusSmall);
    const QRect symbol(inset, 0, metrics::icon, height());
    theme().icons().paint(painter, QStyle::visualRect(layoutDirection(), rect(), symbol), systemImage_,
                          metrics::icon, ink.muted);
    const QRect words = rect().adjusted(inset + metrics::icon + gap, 0, -inset, 0);
    painter.setFont(font());
    painter.setPen(ink.fg);
    painter.drawText(QStyle::visualRect(layoutDirection(), rect(), words),
                     int(QStyle::visualAlignment(layoutDirection(), Qt::AlignLeft | Qt::AlignVCenter)),
                     text());
    paintFocusRing(painter, rect(), metrics::radiusSmall);
}

} // namespace teskal
