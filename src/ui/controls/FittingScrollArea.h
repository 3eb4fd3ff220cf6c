#pragma once

#include <QScrollArea>

namespace teskal {

/// Takes the height that its content needs where there is room for it, and scrolls where there is not. The
/// scroll bar stands in the content's right margin.
class FittingScrollArea : public QScrollArea {
    Q_OBJECT

public:
    /// \a content must have a layout, whose right margin has room for a scroll bar.
    explicit FittingScrollArea(QWidget* content, QWidget* parent = nullptr);

    [[nodiscard]] bool hasHeightForWidth() const override { return true; }
    [[nodiscard]] int heightForWidth(int width) const override;
    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override { return {}; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void yieldMargin();

    int margin_; ///< the content's right one
};

} // namespace teskal
