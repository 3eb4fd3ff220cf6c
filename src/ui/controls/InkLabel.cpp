#include "InkLabel.h"

#include "theme/Theme.h"

namespace teskal {

InkLabel::InkLabel(const Theme& theme, TextRole role, QColor Ink::*colour, QWidget* parent)
    : QLabel(parent), theme_(theme), colour_(colour) {
    setFont(theme.font(role));
    setTextFormat(Qt::PlainText);
    takeColour();
    connect(&theme, &Theme::changed, this, &InkLabel::takeColour);
}

void InkLabel::setColour(QColor Ink::*colour) {
    if (colour == colour_)
        return;
    colour_ = colour;
    takeColour();
}

void InkLabel::takeColour() {
    QPalette colours = palette();
    colours.setColor(QPalette::WindowText, theme_.ink().*colour_);
    setPalette(colours);
}

} // namespace teskal
