#pragma once

#include "InkButton.h"

#include <functional>

namespace teskal {

/// The one main action of a screen: text in the page colour on the foreground colour, with an optional mark.
class PrimaryButton : public InkButton {
    Q_OBJECT

public:
    using Mark = std::function<void(QPainter&, const QRectF&)>;

    PrimaryButton(const Theme& theme, const QString& text, QWidget* parent = nullptr);

    /// Painted before the text, in a square of 18 pixels.
    void setMark(Mark mark);

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    Mark mark_;
};

} // namespace teskal
