#include "SpokenLabel.h"

#include "announce.h"

namespace teskal {

SpokenLabel::SpokenLabel(QWidget* parent) : QLabel(parent) {
    setWordWrap(true);
    makeAlert(*this);
}

void SpokenLabel::say(const QString& text) {
    if (text == this->text())
        return;
    setText(text);
    setAccessibleName(text);
    announce(*this);
}

} // namespace teskal
