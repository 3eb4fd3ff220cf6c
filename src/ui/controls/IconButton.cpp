#include "IconButton.h"

#include "keyHint.h"
#include "theme/Theme.h"

#include <QPainter>

namespace teskal {

namespace {

// A screen reader says the shortcut by itself where there is one; the name is the plain text.
QString withoutHint(const QString& help) {
    const qsizetype open = help.lastIndexOf(QLatin1String(" ("));
    return open > 0 && help.endsWith(QLatin1Char(')')) ? help.left(open) : help;
}

} // namespace

IconButton::IconButton(const Theme& theme, QString systemImage, const QString& help, QWidget* parent)
    : InkButton(theme, parent), systemImage_(std::move(systemImage)) {
    setToolTip(keyHint(help));
    setAccessibleName(withoutHint(help));
    setFixedSize(metrics::control, metrics::control);
}

void IconButton::setLook(Look look) {
    look_ = look;
    update();
}

void IconButton::setSymbolSize(int size) {
    symbolSize_ = size;
    update();
}

QColor IconButton::groundColour() const {
    const Ink& ink = theme().ink();
    switch (look_) {
    case Look::Solid:
        return isEnabled() ? flattened(ink.fg, ink.card) : ink.tint(0.09);
    case Look::Toned:
        return ink.tint(0.07 + 0.03 * hoverAmount());
    case Look::Quiet:
        break;
    }
    return ink.tint(0.05 * hoverAmount());
}

QColor IconButton::symbolColour() const {
    const Ink& ink = theme().ink();
    if (!isEnabled())
        return ink.subtle;
    if (look_ == Look::Solid)
        return ink.page;
    return look_ == Look::Toned || isDown() || isChecked() ? ink.fg : ink.muted;
}

void IconButton::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const double radius = look_ == Look::Solid ? width() / 2.0 : metrics::radiusSmall;
    painter.setPen(Qt::NoPen);
    painter.setBrush(groundColour());
    if (look_ == Look::Solid && isEnabled())
        painter.setOpacity(isDown() ? 0.75 : 1 - 0.14 * hoverAmount());
    painter.drawRoundedRect(rect(), radius, radius);
    painter.setOpacity(1);
    theme().icons().paint(painter, rect(), systemImage_, symbolSize_, symbolColour());
    paintFocusRing(painter, rect(), radius);
}

} // namespace teskal
