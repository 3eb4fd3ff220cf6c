#pragma once

#include "controls/InkButton.h"

namespace teskal {

/// The small disc on a chip's corner. It is for the pointer: with the keyboard the chip itself is removed.
class ChipRemoveButton : public InkButton {
    Q_OBJECT

public:
    explicit ChipRemoveButton(const Theme& theme, QWidget* parent = nullptr);

protected:
    void paintEvent(QPaintEvent* event) override;
};

} // namespace teskal
