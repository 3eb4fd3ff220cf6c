#include "AlertLabel.h"

#include "announce.h"

namespace teskal {

AlertLabel::AlertLabel(const Theme& theme, TextRole role, QWidget* parent)
    : InkLabel(theme, role, &Ink::muted, parent) {
    setWordWrap(true);
    makeAlert(*this);
}

void AlertLabel::say(const QString& text, bool isFailure) {
    setColour(isFailure ? &Ink::danger : &Ink::muted);
    if (text == this->text())
        return;
    setText(text);
    setAccessibleName(text);
    if (!text.isEmpty())
        announce(*this);
}

} // namespace teskal
