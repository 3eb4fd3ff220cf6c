#pragma once

#include "Chat.h"
#include "ChatSaver.h"
#include "Completion.h"

#include <QHash>
#include <QObject>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace teskal {

class Clock;
class ClockTimer;

/// What is left of a chat that the user deleted.
struct RemovedChat {
    QString id;
    double updatedAt = 0; ///< its last change, ms since 1970

    friend bool operator==(const RemovedChat&, const RemovedChat&) = default;
};

/// The signed-in account's chats, in memory and on disk, newest first, and the one private chat, which is
/// never in the list nor on disk. Main thread only.
///
/// Changes are told by the finest signal that says them; none fires when nothing changed. A change of one
/// message costs the same however many chats and messages there are. Files are written away from the main
/// thread, 0.6 s after the last change, and at once by flush().
///
/// After a claim the chats are read away from the main thread, too, and join the list when they are there:
/// the newest very soon, the rest when it takes no time from anything else. Until then the store can be used
/// as ever: what is made or changed meanwhile stays, nothing is written, and a change of a chat that may
/// still be on its way waits for it.
///
/// The quiet operations are for what another device did: they save, but are no change of the user's.
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
    /// memory, the new one's are about to be read and mended. The same owner again does nothing.
    void claim(const std::optional<QString>& owner);
    /// While \a hold, chats are not begun to be read unless somebody waits for them: whoever starts can have
    /// something more urgent to do.
    void holdReading(bool hold);
    /// Whether chats of the account are still being read, or held. Without a file nothing is.
    bool isLoading() const { return saver_ && saver_->isLoading(); }
    /// Waits for the chats that are being read; loaded() fires inside this call.
    void finishLoading();
    /// Has them read as fast as possible, without waiting: the user does.
    void hurryLoading();

    /// A new chat at the top of the list; an empty \a title becomes "New chat". Returns its identifier.
    QString create(const QString& title);
    /// The one private chat; none ends it. It is never in a file.
    void setPrivateChat(std::optional<Chat> chat);
    const Chat* privateChat() const { return privateChat_.get(); }
    /// Applies \a change to the chat; an unknown \a id does nothing. \a change must not change the
    /// id; what it does to updatedAt is undone.
    void update(const QString& id, Touch touch, Save save, const std::function<void(Chat&)>& change);
    /// Applies \a change to one message; unknown ids do nothing. \a change must not change the id.
    void updateMessage(const QString& chatId, const QString& messageId, Touch touch, Save save,
                       const std::function<void(ChatMessage&)>& change);
    /// Gives the chat another title, as a change of the user's.
    void rename(const QString& id, const QString& title);
    /// Removes the chat, or ends the private one.
    void remove(const QString& id);
    /// Removes every chat of the list.
    void removeAll();

    /// Puts \a chat in the place of the one with its identifier, or adds it.
    void upsertQuiet(const Chat& chat);
    /// Removes a chat that was deleted elsewhere.
    void removeQuiet(const QString& id);
    /// Applies \a change to one message and makes the chat 1 ms newer: the version before may be on its way
    /// to the service already, and must not be taken for this one.
    void updateMessageQuiet(const QString& chatId, const QString& messageId,
                            const std::function<void(ChatMessage&)>& change);

    /// Ends every answer that is still arriving.
    void stopPending();
    /// Writes everything that changed since the last write and waits for it. A failure is logged and tried
    /// again by the next change and the next flush. While the chats are being read and nothing has changed,
    /// there is nothing to do.
    void flush();
    /// Begins to write everything that changed since the last write, without waiting. The outcome tells
    /// whether all that was changed before this call is on disk; Cancelled when the account was left before.
    Completion<bool> written();
    /// Whether a write is under way.
    bool isSaving() const { return saver_ && saver_->isWriting(); }

Q_SIGNALS:
    /// The whole list is another one; `owner` and the chats are the new ones already.
    void listReset();
    /// The newest chats of the account's file have joined the list, the others follow. Not told when somebody
    /// waits for them all.
    void newestLoaded();
    /// All chats of the account's file have joined the list; those that were in it are still there.
    void loaded();
    void chatInserted(int row);
    /// The chat has left the list; \a row was its place.
    void chatRemoved(int row, const QString& id);
    /// The chat that was at row \a from is at row \a to now.
    void chatMoved(int from, int to);
    /// Title, times or list of messages of a chat changed, or several of its messages at once.
    void chatChanged(const QString& id);
    /// One message of a chat changed; nothing else did, apart from the chat's updatedAt on a touch.
    void messageChanged(const QString& chatId, const QString& messageId);
    /// The user deleted these saved chats; they have left the list.
    void deletedByUser(const QList<teskal::RemovedChat>& chats);
    /// The private chat is gone, or another one took its place.
    void privateChatEnded();
    /// There is a change of the user's that will be saved, and that other devices should hear of.
    void edited();

private:
    using ChatPtr = std::unique_ptr<Chat>;

    /// Whether a change is the user's or came from elsewhere.
    enum class Origin { User, Elsewhere };

    /// Waits for the chats that are being read when it is not among those that are there.
    Chat* find(const QString& id);
    void takeLoaded(AccountChats account, const QSet<QString>& withdrawn);
    void addLoaded(std::vector<ChatPtr> chats);
    bool changeMessage(const QString& chatId, const QString& messageId, Touch touch,
                       const std::function<void(ChatMessage&)>& change);
    void insert(ChatPtr chat);
    ChatPtr take(int row);
    /// The place of a chat with this time among the chats from row \a begin to row \a end, behind its equals.
    int placeFor(double updatedAt, int begin, int end) const;
    void touchChat(Chat& chat);
    /// Gives the chat another time and its place in the list.
    void setUpdatedAt(Chat& chat, double time);
    void noteChange(const QString& chatId, Save save, Origin origin = Origin::User);
    void scheduleSave();
    void startSave();
    void saveEnded(ChatSaver::Outcome outcome);

    QString folder_;
    Clock& clock_;
    std::optional<QString> owner_;
    std::vector<ChatPtr> chats_; ///< newest first
    QHash<QString, Chat*> byId_;
    ChatPtr privateChat_;
    std::unique_ptr<ChatSaver> saver_; ///< of the owner's file
    std::unique_ptr<ClockTimer> saveTimer_;
    bool unsaved_ = false;   ///< something changed since the last write began
    bool saveAgain_ = false; ///< another write is to follow the one under way
    std::vector<CompletionSource<bool>> waitForThisSave_;
    std::vector<CompletionSource<bool>> waitForNextSave_;
    quint64 claimGeneration_ = 0;
    bool readingHeld_ = false;
};

} // namespace teskal
