#pragma once

#include "InkButton.h"

#include <QVariantAnimation>

namespace teskal {

/// Something that is on or off: a knob that slides to the side of the accent when it is on. clicked(bool)
/// tells what the user wants; setChecked() shows what is.
class Switch : public InkButton {
    Q_OBJECT

public:
    explicit Switch(const Theme& theme, QWidget* parent = nullptr);

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void slide(bool on);

    QVariantAnimation knob_; ///< 0 off to 1 on
};

} // namespace teskal
