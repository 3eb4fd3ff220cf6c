#pragma once

#include <QPointer>
#include <QWidget>

class QPushButton;

namespace teskal {

class Theme;

/// A card over the dimmed window, for what must be answered first. While it is open, keys and clicks stay in
/// it, the menu's commands wait, Return presses the focused or else the default button, and Escape asks to
/// leave; whoever opened it closes it. Subclasses lay out the card.
class ModalCard : public QWidget {
    Q_OBJECT

public:
    /// Lies over all of \a window, with a card \a cardWidth wide in its middle. \a title is its accessible
    /// name.
    ModalCard(const Theme& theme, const QString& title, int cardWidth, QWidget& window);
    ~ModalCard() override;

    void open();
    /// Gives the focus back to where it was.
    void dismiss();

Q_SIGNALS:
    /// Escape was pressed.
    void escaped();
    /// The focus was in the card, and where it came from is gone.
    void focusHomeless();

protected:
    [[nodiscard]] const Theme& theme() const { return theme_; }
    [[nodiscard]] QWidget& card() { return *card_; }
    /// A button of the card, owned by it.
    [[nodiscard]] QPushButton* makeButton(const QString& text);
    /// What Return presses; not owned.
    void setDefaultButton(QPushButton* button) { default_ = button; }
    /// What has the focus at first; not owned. Without one nothing in the card has it, but the card itself.
    void setFirstFocus(QWidget* widget) { firstFocus_ = widget; }

    bool event(QEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;
    bool focusNextPrevChild(bool next) override;
    void keyPressEvent(QKeyEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void arrange();
    void takeFocus();
    void keepFocus(QWidget* now);
    void pressButton();

    const Theme& theme_;
    int cardWidth_;
    QWidget* card_;
    QPushButton* default_ = nullptr;
    QWidget* firstFocus_ = nullptr;
    QPointer<QWidget> focusBefore_;
};

} // namespace teskal
