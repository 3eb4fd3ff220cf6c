#pragma once

#include "ComposerFile.h"
#include "VoicePhase.h"

#include <QImage>
#include <QList>
#include <QUrl>
#include <QWidget>

#include <functional>
#include <memory>

class QBoxLayout;
class QHBoxLayout;

namespace teskal {

class AttachmentRow;
class ComposerTextView;
class DraftDocuments;
class IconButton;
class RecordingRow;
class Theme;

/// The message-entry card: chips of the files, a field that grows with its text, the buttons, and the
/// recording row in place of the text while the user speaks. It knows nothing of chats; its owner binds the
/// drafts and says when an answer is running. There is one for the life of the window, so that focus, input
/// method, undo and a recording survive its moves.
class ComposerView : public QWidget {
    Q_OBJECT

public:
    explicit ComposerView(const Theme& theme, QWidget* parent = nullptr);
    ~ComposerView() override;

    [[nodiscard]] QString text() const;
    /// Replaces the draft's text; does nothing when it is the same, so a binding may echo.
    void setText(const QString& text);

    /// Shows the draft of \a slot, any text that names it, with \a text. Each slot has an undo history of its
    /// own.
    void showDraft(const QString& slot, const QString& text);
    /// The draft of \a from and its history go on under the name \a to.
    void renameDraft(const QString& from, const QString& to);
    /// Forgets the histories of slots that \a stays denies, but not the one shown.
    void keepDrafts(const std::function<bool(const QString& slot)>& stays);
    /// Forgets every history, that of the draft shown included.
    void forgetHistory();

    /// The files of the draft, in order.
    void setFiles(const QList<ComposerFile>& files);

    void setVoicePhase(VoicePhase phase);
    /// How long the recording is, in seconds.
    void setElapsed(double seconds);
    /// How loud it is, 0...1.
    void setLevel(double level);

    /// While the chat's answer is running nothing can be sent.
    void setBusy(bool busy);
    /// The roomier form of an empty chat.
    void setLarge(bool large);

    /// The height the card wants at its present width, in pixels.
    [[nodiscard]] int cardHeight() const;

    /// Gives the keyboard to the text, or to what stands in its place.
    void focusText();
    [[nodiscard]] ComposerTextView& textView() { return *textView_; }

Q_SIGNALS:
    /// The draft differs from before.
    void textChanged(const QString& text);
    /// The user asks to send the draft: text() other than white space or files, none of them still being
    /// prepared, and no composition pending.
    void sendRequested();
    /// cardHeight() differs from before.
    void cardHeightChanged();
    /// The user wants to choose files.
    void attachRequested();
    void filesPasted(const QList<QUrl>& files);
    /// \a image is null when it does not decode.
    void imagePasted(const QImage& image);
    void removeFileRequested(quint64 number);
    /// The user wants to speak, or when recording, to throw the recording away.
    void voiceToggled();
    /// What was said so far is wanted as text.
    void useRecordingRequested();

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    QBoxLayout* arrangeButtons();
    void connectParts();
    void toggleVoice();
    void takeFocus(Qt::FocusReason reason);
    [[nodiscard]] bool canSend() const;
    void submit();
    void textEdited();
    void updateSend();
    void updateHeight();

    const Theme& theme_;
    AttachmentRow* chips_;
    ComposerTextView* textView_;
    RecordingRow* recording_;
    IconButton* attach_;
    IconButton* dictate_;
    IconButton* send_;
    QHBoxLayout* chipsLine_;
    QHBoxLayout* buttons_;
    std::unique_ptr<DraftDocuments> documents_;
    QString lastText_;
    VoicePhase voice_ = VoicePhase::Idle;
    bool preparing_ = false; ///< one of the files is
    bool busy_ = false;
    bool large_ = false;
    bool switching_ = false;
    int lastHeight_ = 0;
};

} // namespace teskal
