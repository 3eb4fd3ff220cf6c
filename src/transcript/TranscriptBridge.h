#pragma once

#include "AudioState.h"
#include "Chat.h"
#include "PagePort.h"
#include "PageRequest.h"
#include "Scope.h"

#include <QCoroTask>
#include <QMap>
#include <QObject>
#include <QPointer>
#include <QUrl>

#include <optional>
#include <stop_token>
#include <vector>

namespace teskal {

class TranscriptActions;

enum class PageTheme { Light, Dark };

/// The only channel between the application model and the transcript page: pushes what changed since the last
/// push and turns the page's requests into calls of TranscriptActions. Nothing is sent before the page said
/// "ready"; what it shows then is pushed anew. Main thread only.
class TranscriptBridge final : public QObject {
    Q_OBJECT

public:
    /// \a actions must outlive the bridge.
    explicit TranscriptBridge(TranscriptActions& actions, QObject* parent = nullptr);
    ~TranscriptBridge() override;

    /// The page to drive, which may come and go; none with null.
    void setPage(PagePort* page);
    bool isReady() const { return ready_ && page_; }

    /// Shows \a chat, or nothing with null, pushing only what differs from what the page has.
    void show(const Chat* chat, bool busy);
    /// One message of the chat changed and nothing else: pushes that one, when its chat is shown. Costs the
    /// same however long the chat is.
    void showMessage(const QString& chatId, const ChatMessage& message);
    void setBusy(bool busy);
    void setTheme(PageTheme theme);
    /// How far reading the message aloud has come. What is not idle is told again whenever the page has a new
    /// set of messages.
    void setAudio(const QString& messageId, AudioState state);
    void scrollToBottom();
    /// The user dropped \a files on the transcript.
    void dropped(const QList<QUrl>& files);

private:
    void receive(const QJsonObject& message);
    void perform(const ReadyRequest& request);
    void perform(const SendRequest& request);
    void perform(const RetryRequest& request);
    void perform(const CopyRequest& request);
    void perform(const SpeakRequest& request);
    void perform(const SaveMediaRequest& request);
    void perform(const OpenSheetRequest& request);
    void perform(const OpenLinkRequest& request);
    void perform(const SignInRequest& request);
    void perform(const FetchRequest& request);
    QCoro::Task<void> fetch(FetchRequest request, quint64 load, std::stop_token stop);

    void pageLost();
    /// The page has nothing of what it had, and its requests are not its own any more.
    void forgetPage();
    void showChat(const Chat& chat);
    void showNoChat();
    bool canUpdateInPlace(const Chat& chat) const;
    void replaceChat(const Chat& chat);
    void updateInPlace(const Chat& chat);
    void pushTheme();
    void pushAudio();
    void callSetAudio(const QString& messageId, AudioState state);
    void call(const char* function, const QList<QByteArray>& arguments = {});

    TranscriptActions& actions_;
    QPointer<PagePort> page_;
    bool ready_ = false;
    quint64 pageLoad_ = 0; ///< counts the pages, so that an answer finds the one that asked
    std::optional<QString> shownChatId_;
    /// As last pushed. Its own vector, never a shared copy of the chat's list, which a change would copy
    /// whole.
    std::vector<ChatMessage> shownMessages_;
    std::optional<bool> shownBusy_;
    std::optional<PageTheme> shownTheme_;
    bool knowsAudio_ = false;
    PageTheme theme_ = PageTheme::Light;
    QMap<QString, AudioState> audio_; ///< of messages that are not idle
    Scope fetches_;                   // last: its coroutines use the above
};

} // namespace teskal
