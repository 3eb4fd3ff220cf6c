#pragma once

#include "ChatStore.h"
#include "Scope.h"
#include "SerialWorker.h"
#include "SyncAccount.h"
#include "SyncStateFile.h"

#include <QCoroTask>
#include <QList>
#include <QObject>
#include <QString>

#include <chrono>
#include <memory>
#include <optional>

namespace teskal {

class Clock;
class ClockTimer;

/// Keeps the account's saved chats in step with the service: what changed there comes here, what changed here
/// goes there, deletions travel both ways. Passes run one at a time, on request and every 30 seconds. It
/// changes the store by its quiet operations alone, and never sees a private chat. Main thread only.
class ChatSync final : public QObject {
    Q_OBJECT

public:
    /// \a folder holds the accounts' files; \a store and \a clock must outlive this object.
    ChatSync(QString folder, ChatStore& store, Clock& clock, QObject* parent = nullptr);
    ~ChatSync() override;

    /// Switches to another account, or to none; the store must have claimed it already. \a api is a client of
    /// that account. The same owner again does nothing.
    void claim(const std::optional<QString>& owner, const std::optional<TeskalAPI>& api);
    /// After a new sign-in of the same account: what the service refused before is tried again.
    void resume();

    /// Asks for a pass after \a delay; a later request takes the place of an earlier one.
    void syncSoon(std::chrono::milliseconds delay);
    /// Runs a pass now, or another one after the one under way; the first one waits for the chats of this
    /// machine.
    void sync();
    /// The user deleted these chats here; the service is to hear of it.
    void recordDeletes(const QList<RemovedChat>& chats);
    /// Whether the chats here are no older than the service's were at some time since the account was
    /// claimed: a pass has ended well, or the service keeps no history. A pass that fails tells nothing.
    bool isHistoryKnown() const { return account_ && (account_->historyKnown || !account_->enabled); }
    /// Whether a pass is under way.
    bool isRunning() const { return account_ && account_->running; }

    /// Writes what the account's file does not hold yet and waits for it.
    void flush();

Q_SIGNALS:
    /// A file of a chat is at the service now.
    void uploaded(const QString& fileId, const QString& mediaType, const QByteArray& bytes);
    /// A pass has changed or removed chats of the store.
    void pulled();
    /// isHistoryKnown() has become true.
    void historyKnown();

private:
    void load(const QString& owner, const TeskalAPI& api);
    void chatsLoaded();
    void readState();
    void alignWithChats();
    void leaveAccount();
    void pullLater();
    QCoro::Task<void> runPasses(std::shared_ptr<SyncAccount> account, std::stop_token stop);
    QCoro::Task<bool> runPass(std::shared_ptr<SyncAccount> account, std::stop_token stop);
    QCoro::Task<void> saveAfterChats(std::shared_ptr<SyncAccount> account, std::stop_token stop);
    void save();

    QString folder_;
    ChatStore& store_;
    Clock& clock_;
    std::optional<QString> owner_;
    std::shared_ptr<SyncAccount> account_;
    std::unique_ptr<SyncStateFile> file_;
    std::unique_ptr<ClockTimer> pushTimer_;
    std::unique_ptr<ClockTimer> pullTimer_;
    SerialWorker decoder_; ///< takes files out of data URLs
    Scope scope_;
};

} // namespace teskal
