#pragma once

#include <QColor>

class QPalette;

namespace teskal {

/// The palette every view draws with. One value for the light look and one for the dark; widgets read
/// these and never hold literal colours.
struct Ink {
    QColor page;   ///< the window's surface
    QColor card;   ///< raised surfaces: composer, cards, menus
    QColor fill;   ///< recessed surfaces: fields, the user's messages
    QColor line;   ///< hairlines
    QColor fg;     ///< text and primary buttons
    QColor muted;  ///< quieter text and icons
    QColor subtle; ///< what is switched off, and marks that are no text: it is too faint to read in the light
                   ///< look
    QColor accent; ///< "auto", the one accent; the same in both looks, never for large areas
    QColor danger; ///< text of failures
    bool dark = false;

    static Ink light();
    static Ink night();
    static Ink forLook(bool isDark) { return isDark ? night() : light(); }

    /// Foreground at \a alpha (0...1), to be laid over any surface.
    [[nodiscard]] QColor tint(double alpha) const;
    [[nodiscard]] QColor hover() const { return tint(0.05); }
    [[nodiscard]] QColor selected() const { return tint(0.07); }

    /// The same colours in the roles that Qt's own widgets read.
    [[nodiscard]] QPalette palette() const;
};

/// What is seen when \a top, which may be translucent, lies on the opaque \a bottom.
QColor flattened(const QColor& top, const QColor& bottom);

} // namespace teskal
