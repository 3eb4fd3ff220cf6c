#pragma once

#include "Chat.h"
#include "PagePort.h"

#include <QObject>
#include <QPointer>

#include <optional>
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
    void scrollToBottom();

private:
    void receive(const QJsonObject& message);
    void pageReady();
    void pageLost();
    void forgetShown();
    void showChat(const Chat& chat);
    bool canUpdateInPlace(const Chat& chat) const;
    void upsert(const ChatMessage& message);
    void pushTheme();
    void call(const char* function, const QList<QByteArray>& arguments = {});

    TranscriptActions& actions_;
    QPointer<PagePort> page_;
    bool ready_ = false;
    std::optional<QString> shownChatId_;
    /// As last pushed. Its own vector, never a shared copy of the chat's list, which a change would copy
    /// whole.
    std::vector<ChatMessage> shownMessages_;
    std::optional<bool> shownBusy_;
    std::optional<PageTheme> shownTheme_;
    PageTheme theme_ = PageTheme::Light;
};

} // namespace teskal
