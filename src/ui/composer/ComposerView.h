#pragma once

#include <QWidget>

class QHBoxLayout;

namespace teskal {

class ComposerTextView;
class IconButton;
class Theme;

/// The message-entry card: a field that grows with its text and the send button. It knows nothing of chats;
/// its owner binds the draft and says when an answer is running. There is one for the life of the window, so
/// that focus, input method and undo survive its moves.
class ComposerView : public QWidget {
    Q_OBJECT

public:
    explicit ComposerView(const Theme& theme, QWidget* parent = nullptr);

    [[nodiscard]] QString text() const;
    /// Replaces the draft; does nothing when it is the same, so a binding may echo.
    void setText(const QString& text);

    /// While the chat's answer is running nothing can be sent.
    void setBusy(bool busy);
    /// The roomier form of an empty chat.
    void setLarge(bool large);

    /// The height the card wants at its present width, in pixels.
    [[nodiscard]] int cardHeight() const;

    void focusText();
    [[nodiscard]] ComposerTextView& textView() { return *textView_; }

Q_SIGNALS:
    /// The draft differs from before.
    void textChanged(const QString& text);
    /// The user asks to send text(), which has something other than white space and no composition pending.
    void sendRequested();
    /// cardHeight() differs from before.
    void cardHeightChanged();

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;

private:
    [[nodiscard]] bool canSend() const;
    void submit();
    void updateSend();
    void updateHeight();

    const Theme& theme_;
    ComposerTextView* textView_;
    IconButton* send_;
    QHBoxLayout* buttons_;
    QString lastText_;
    bool busy_ = false;
    bool large_ = false;
};

} // namespace teskal
