#include "Ink.h"

#include <QPalette>

namespace teskal {

namespace {

const QColor& accentColour() {
    static const QColor colour = QColor::fromRgbF(0.06F, 0.73F, 0.51F);
    return colour;
}

} // namespace

Ink Ink::light() {
    return {.page = QColor(0xF7, 0xF6, 0xF4),
            .card = QColor(0xFF, 0xFF, 0xFF),
            .fill = QColor(0xF2, 0xF1, 0xEF),
            .line = QColor(0xE7, 0xE5, 0xE4),
            .fg = QColor(0x0C, 0x0A, 0x09),
            .muted = QColor(0x78, 0x71, 0x6C),
            .subtle = QColor(0xA8, 0xA2, 0x9E),
            .accent = accentColour(),
            .danger = QColor(0xB4, 0x23, 0x18),
            .dark = false};
}

Ink Ink::night() {
    return {.page = QColor(0x09, 0x09, 0x0B),
            .card = QColor(0x13, 0x13, 0x16),
            .fill = QColor(0x1C, 0x1C, 0x20),
            .line = QColor(0x26, 0x26, 0x2B),
            .fg = QColor(0xFA, 0xFA, 0xFA),
            .muted = QColor(0xA1, 0xA1, 0xAA),
            .subtle = QColor(0x85, 0x85, 0x8F),
            .accent = accentColour(),
            .danger = QColor(0xF9, 0x70, 0x66),
            .dark = true};
}

QColor Ink::tint(double alpha) const {
    QColor colour = fg;
    colour.setAlphaF(static_cast<float>(alpha));
    return colour;
}

QPalette Ink::palette() const {
    QPalette palette;
    palette.setColor(QPalette::Window, page);
    palette.setColor(QPalette::WindowText, fg);
    palette.setColor(QPalette::Base, card);
    palette.setColor(QPalette::AlternateBase, fill);
    palette.setColor(QPalette::Text, fg);
    palette.setColor(QPalette::PlaceholderText, muted);
    palette.setColor(QPalette::Button, card);
    palette.setColor(QPalette::ButtonText, fg);
    palette.setColor(QPalette::BrightText, danger);
    palette.setColor(QPalette::ToolTipBase, card);
    palette.setColor(QPalette::ToolTipText, fg);
    // A quiet mark for selected text: the accent is kept for things that are alive.
    palette.setColor(QPalette::Highlight, flattened(tint(0.16), card));
    palette.setColor(QPalette::HighlightedText, fg);
    palette.setColor(QPalette::Link, fg);
    palette.setColor(QPalette::LinkVisited, fg);
    palette.setColor(QPalette::Light, fill);
    palette.setColor(QPalette::Midlight, line);
    palette.setColor(QPalette::Mid, line);
    palette.setColor(QPalette::Dark, subtle);
    palette.setColor(QPalette::Shadow, QColor(0, 0, 0));
    for (const QPalette::ColorRole role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(QPalette::Disabled, role, subtle);
    return palette;
}

QColor flattened(const QColor& top, const QColor& bottom) {
    const double alpha = top.alphaF();
    const auto mix = [alpha](int over, int under) { return qRound(over * alpha + under * (1 - alpha)); };
    return {mix(top.red(), bottom.red()), mix(top.green(), bottom.green()), mix(top.blue(), bottom.blue())};
}

} // namespace teskal
