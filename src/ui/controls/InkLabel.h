#pragma once

#include "theme/Ink.h"
#include "theme/TextRole.h"

#include <QLabel>

namespace teskal {

class Theme;

/// A label whose font and colour come from the theme and follow it.
class InkLabel : public QLabel {
    Q_OBJECT

public:
    /// \a colour is the member of Ink the text is drawn in.
    InkLabel(const Theme& theme, TextRole role, QColor Ink::*colour, QWidget* parent = nullptr);

    void setColour(QColor Ink::*colour);

private:
    void takeColour();

    const Theme& theme_;
    QColor Ink::*colour_;
};

} // namespace teskal
