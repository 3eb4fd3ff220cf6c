#pragma once

#include "controls/InkButton.h"

namespace teskal {

/// A button that looks like a row of the sidebar: a symbol and a text.
class RowButton : public InkButton {
    Q_OBJECT

public:
    RowButton(const Theme& theme, QString systemImage, const QString& text, QWidget* parent = nullptr);

    [[nodiscard]] QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QString systemImage_;
};

} // namespace teskal
