#pragma once

#include "controls/InkLabel.h"

namespace teskal {

/// Says that the open chat is private.
class PrivateBadge : public InkLabel {
    Q_OBJECT

public:
    explicit PrivateBadge(const Theme& theme, QWidget* parent = nullptr);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    const Theme& theme_;
};

} // namespace teskal
