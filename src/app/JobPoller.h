#pragma once

#include "ChatStore.h"
#include "JobStatus.h"
#include "Scope.h"
#include "TeskalAPI.h"

#include <QHash>
#include <QObject>

#include <functional>
#include <optional>

namespace teskal {

/// Follows the videos and songs that the service is making: asks how each is doing every 4 seconds and writes
/// what came of it into its message, saved. At most one poll per message. Main thread only.
///
/// A poll touches the store only while its account's claim and its own entry here are the ones it began with,
/// and only while the message still waits for its job: what another device found out is never overwritten.
class JobPoller final : public QObject {
    Q_OBJECT

public:
    using ApiFactory = std::function<TeskalAPI()>;
    /// Whether the account's history at the service is known here by now.
    using HistoryCheck = std::function<bool()>;

    /// \a store and \a clock must outlive the poller; \a api makes a client for the account that is claimed
    /// when it is called. Before \a historyIsKnown, no job of a saved chat is given up as too old or without
    /// a handle: another device may have its result. Such a poll ends without a change, for resume().
    JobPoller(ChatStore& store, Clock& clock, ApiFactory api, HistoryCheck historyIsKnown,
              QObject* parent = nullptr);
    ~JobPoller() override;

    bool isPolling(const QString& messageId) const { return polls_.contains(messageId); }

    /// Follows the job of the message until it ends. Nothing while it is followed already, or when it waits
    /// for none.
    void poll(const QString& chatId, const QString& messageId);
    /// Follows every job of the saved chats.
    void resume();
    /// Drops the message's poll at once; it changes nothing any more.
    void cancel(const QString& messageId);
    void cancelAll();

Q_SIGNALS:
    /// The message's job is done or has failed; the message says so already.
    void ended(const QString& chatId, const QString& messageId);

private:
    /// What a poll knows of itself, by value.
    struct Poll {
        quint64 number = 0;
        quint64 claim = 0;
        QString chatId;
        QString messageId;
    };
    struct Entry {
        quint64 number;
        QString chatId;
        Job job;
    };

    QCoro::Task<void> follow(Poll poll, std::stop_token stop);
    QCoro::Task<void> askUntilItEnds(Poll poll, std::stop_token stop);
    QCoro::Task<std::optional<JobStatus>> ask(QString kind, QString token, std::stop_token stop);
    /// Whether the entry of its message is its own.
    bool hasEntry(const Poll& poll) const;
    bool isCurrent(const Poll& poll) const;
    /// What the message waits for; null when it does not, or when the poll is not current.
    const Media* pendingJob(const Poll& poll) const;
    /// Writes how the job ended; nothing while it has not. Whether it has.
    bool settle(const Poll& poll, const JobStatus& status);
    void fail(const Poll& poll, const QString& text);
    /// Cancels the polls whose messages are gone.
    void dropWhatIsGone();

    ChatStore& store_;
    Clock& clock_;
    ApiFactory api_;
    HistoryCheck historyIsKnown_;
    QHash<QString, Entry> polls_; ///< by message
    quint64 lastNumber_ = 0;
    Scope scope_; // last: its coroutines use the above
};

} // namespace teskal
