#pragma once

#include <QPointer>
#include <QWidget>

class QPushButton;
class QVBoxLayout;

namespace teskal {

class InkLabel;
class Theme;

/// The frame of the account sheets: a card over the dimmed window, with a title, the content and "Done".
/// While it is open, keys and clicks stay in it, the menu's commands wait, and Return presses the default
/// button; whoever opened it closes it when it asks.
class SheetFrame : public QWidget {
    Q_OBJECT

public:
    /// Lies over all of \a window.
    SheetFrame(const Theme& theme, const QString& title, QWidget& window);

    void open();
    /// Gives the focus back to where it was.
    void dismiss();

Q_SIGNALS:
    /// The user is done with the sheet.
    void doneRequested();
    /// The focus was in the sheet, and where it came from is gone.
    void focusHomeless();

protected:
    [[nodiscard]] const Theme& theme() const { return theme_; }
    /// Where a subclass puts its content, of contentWidth.
    [[nodiscard]] QVBoxLayout& content() { return *content_; }
    [[nodiscard]] QWidget& card() { return *card_; }
    /// A button of the sheet, owned by its card.
    [[nodiscard]] QPushButton* makeButton(const QString& text);
    /// What Return presses; not owned.
    void setDefaultButton(QPushButton* button) { default_ = button; }

    static constexpr int contentWidth = 480;

    bool event(QEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;
    bool focusNextPrevChild(bool next) override;
    void keyPressEvent(QKeyEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void arrange();
    void keepFocus(QWidget* now);

    const Theme& theme_;
    QWidget* card_;
    QPushButton* done_;
    QVBoxLayout* content_;
    QPushButton* default_ = nullptr;
    QPointer<QWidget> focusBefore_;
};

} // namespace teskal
