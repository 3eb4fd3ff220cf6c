#pragma once

#include <QAbstractButton>
#include <QVariantAnimation>

namespace teskal {

class Theme;

/// What all painted buttons share: a hover that fades in and out, a ring for keyboard focus only, Return as
/// well as Space to press. Subclasses paint.
class InkButton : public QAbstractButton {
    Q_OBJECT

public:
    explicit InkButton(const Theme& theme, QWidget* parent = nullptr);

protected:
    [[nodiscard]] const Theme& theme() const { return theme_; }
    /// 0 at rest to 1 under the pointer.
    [[nodiscard]] double hoverAmount() const;
    /// Paints the focus ring inside \a rect if the focus came by keyboard.
    void paintFocusRing(QPainter& painter, const QRectF& rect, double radius) const;

    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void changeEvent(QEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    void fadeTo(double amount);

    const Theme& theme_;
    QVariantAnimation hover_;
    bool ringVisible_ = false; ///< the focus came by keyboard when it came last
};

} // namespace teskal
