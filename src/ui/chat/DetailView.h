#pragma once

#include <QImage>
#include <QList>
#include <QUrl>
#include <QVariantAnimation>
#include <QWidget>

namespace teskal {

class ComposerView;
class DropTarget;
class EmptyChatView;
class FindBar;
class IconButton;
class InkLabel;
class PrivateBadge;
class Theme;
class TranscriptLostView;

/// The right-hand column: a bar with the chat's title and buttons, the transcript, the composer. A chat
/// without messages has the greeting in place of the transcript and the composer in the middle; with the
/// first message the same composer travels down. Files and images may be dropped anywhere on it.
class DetailView : public QWidget {
    Q_OBJECT

public:
    explicit DetailView(const Theme& theme, QWidget* parent = nullptr);

    /// Becomes the parent of \a transcript and shows it whenever the chat has messages. What is dropped on it
    /// comes here.
    void setTranscript(QWidget* transcript);

    /// The open chat's title; its first line is shown. Empty for none.
    void setTitle(const QString& title);
    /// An answer is being produced in the open chat.
    void setBusy(bool busy);
    /// The open chat has no messages, or there is none.
    void setEmpty(bool empty);
    /// The open chat is private: a badge stands where its title would.
    void setPrivate(bool isPrivate);
    /// What the sidebar's button does now.
    void setSidebarShown(bool shown);
    /// Nothing but the transcript is shown, in all of the view.
    void setTranscriptAlone(bool alone);
    /// The transcript can not be drawn: what stands in its place offers to reload it.
    void setTranscriptLost(bool lost);

    [[nodiscard]] ComposerView& composer() { return *composer_; }
    [[nodiscard]] FindBar& findBar() { return *findBar_; }

    /// Where a notice over this view has the middle of its lower edge.
    [[nodiscard]] QPoint toastAnchor() const;

Q_SIGNALS:
    void newChatRequested();
    void newPrivateChatRequested();
    void sidebarToggled();
    void stopRequested();
    void reloadRequested();
    /// The user dropped \a files of this machine.
    void filesDropped(const QList<QUrl>& files);
    /// The user dropped an image that is in no file; null when it does not decode.
    void imageDropped(const QImage& image);
    /// toastAnchor() may differ from before.
    void arranged();

protected:
    void resizeEvent(QResizeEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragMoveEvent(QDragMoveEvent* event) override;
    void dragLeaveEvent(QDragLeaveEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    [[nodiscard]] QRect dockedComposer() const;
    [[nodiscard]] QRect centredComposer() const;
    [[nodiscard]] QRect transcriptPlace() const;
    void arrange();
    void showTranscript();
    void orderTabs();
    void fillBar();
    void elideTitle();

    const Theme& theme_;
    QWidget* bar_;
    InkLabel* title_;
    IconButton* sidebarButton_;
    PrivateBadge* badge_;
    IconButton* stop_;
    IconButton* newPrivate_;
    IconButton* newChat_;
    EmptyChatView* greeting_;
    QWidget* transcript_ = nullptr;
    TranscriptLostView* lost_;
    FindBar* findBar_;
    ComposerView* composer_;
    InkLabel* note_;
    DropTarget* dropTarget_;
    QString fullTitle_;
    bool private_ = false;
    bool empty_ = true;
    bool transcriptLost_ = false;
    bool transcriptAlone_ = false;
    /// 0 with the composer in the middle, 1 with it at the bottom.
    QVariantAnimation travel_;
};

} // namespace teskal
