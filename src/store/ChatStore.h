#pragma once

#include "Chat.h"
#include "ChatFile.h"

#include <QHash>
#include <QObject>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace teskal {

class Clock;
class ClockTimer;

/// The signed-in account's chats, in memory and on disk, newest first, and the one private chat, which is
/// never in the list nor on disk. Main thread only.
///
/// Changes are told by the finest signal that says them; none fires when nothing changed. A change of one
/// message costs the same however many chats and messages there are.
class ChatStore final : public QObject {
    Q_OBJECT

public:
    /// Whether a change counts as the user's (moves updatedAt and the chat's place in the list).
    enum class Touch { No, Yes };
    /// Whether a change starts the delayed save. A change of a streaming answer does not; it is in the file
    /// only when something else leads to a write.
    enum class Save { No, Yes };

    /// \a folder holds the accounts' files; \a clock must outlive the store.
    ChatStore(QString folder, Clock& clock, QObject* parent = nullptr);
    ~ChatStore() override;

    const std::optional<QString>& owner() const { return owner_; }
    /// Counts the claims, so that a task can tell that its account was left even when it came back.
    quint64 claimGeneration() const { return claimGeneration_; }

    /// Now, by the clock of the store, in ms since 1970.
    double nowMs() const;

    int count() const { return int(chats_.size()); }
    /// The chat at \a row, newest first. Valid until the next change.
    const Chat& at(int row) const { return *chats_[std::size_t(row)]; }
    /// A saved chat or the private one; null when there is none with this \a id. Valid until the next change.
    const Chat* chat(const QString& id) const;
    /// A message of a chat; null when either is gone. Valid until the next change.
    const ChatMessage* message(const QString& chatId, const QString& messageId) const;
    /// Place in the list, -1 for the private chat and unknown ones.
    int rowOf(const QString& id) const;
    bool isPrivate(const QString& id) const { return privateChat_ && privateChat_->id == id; }

    /// Switches to another account, or to none: the previous account's chats are written and leave the
    /// memory, the new one's are read and mended. The same owner again does nothing.
    void claim(const std::optional<QString>& owner);

    /// A new chat at the top of the list; an empty \a title becomes "New chat". Returns its identifier.
    QString create(const QString& title);
    /// Applies \a change to the chat; an unknown \a id does nothing. \a change must not change the id.
    void update(const QString& id, Touch touch, Save save, const std::function<void(Chat&)>& change);
    /// Applies \a change to one message; unknown ids do nothing. \a change must not change the id.
    void updateMessage(const QString& chatId, const QString& messageId, Touch touch, Save save,
                       const std::function<void(ChatMessage&)>& change);
    void remove(const QString& id);
    /// Ends every answer that is still arriving.
    void stopPending();
    /// Writes everything that changed since the last write, now. A failure is logged and tried again by the
    /// next change and the next flush.
    void flush();

Q_SIGNALS:
    /// The whole list is another one; `owner` and `chats` are the new ones already.
    void claimed();
    void chatInserted(int row);
    /// The chat has left the list; \a row was its place.
    void chatRemoved(int row, const QString& id);
    /// The chat that was at row \a from is at row \a to now.
    void chatMoved(int from, int to);
    /// Title, times or list of messages of a chat changed, or several of its messages at once.
    void chatChanged(const QString& id);
    /// One message of a chat changed; nothing else did, apart from the chat's updatedAt on a touch.
    void messageChanged(const QString& chatId, const QString& messageId);

private:
    using ChatPtr = std::unique_ptr<Chat>;

    Chat* find(const QString& id);
    void insertSorted(ChatPtr chat);
    void touchChat(Chat& chat);
    /// Gives the chat a later time and its place in the list.
    void setUpdatedAt(Chat& chat, double time);
    void noteChange(const QString& chatId, Save save);
    void scheduleSave();
    bool save();

    QString folder_;
    Clock& clock_;
    std::optional<QString> owner_;
    std::optional<ChatFile> file_;
    std::vector<ChatPtr> chats_;
    QHash<QString, Chat*> byId_;
    ChatPtr privateChat_;
    std::unique_ptr<ClockTimer> saveTimer_;
    bool unsaved_ = false;
    quint64 claimGeneration_ = 0;
};

} // namespace teskal
