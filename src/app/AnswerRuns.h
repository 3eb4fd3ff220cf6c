#pragma once

#include "ChatMessage.h"
#include "ChatResult.h"
#include "ChatStore.h"
#include "Scope.h"
#include "TeskalAPI.h"

#include <QHash>
#include <QObject>

#include <functional>
#include <optional>

namespace teskal {

/// The answers under way: at most one per chat. Each writes what arrives into its assistant message, unsaved
/// while it grows and saved at its end. Main thread only.
///
/// A run touches the store only while its account's claim and its own entry here are the ones it began with:
/// neither a run of another account nor an earlier run of the same chat can change anything.
class AnswerRuns final : public QObject {
    Q_OBJECT

public:
    using ApiFactory = std::function<TeskalAPI()>;

    /// \a store must outlive the runs; \a api makes a client for the account that is claimed when it is
    /// called.
    AnswerRuns(ChatStore& store, ApiFactory api, QObject* parent = nullptr);
    ~AnswerRuns() override;

    bool isRunning(const QString& chatId) const { return runs_.contains(chatId); }
    /// The chats that have a run, in no order.
    QStringList running() const { return runs_.keys(); }

    /// Starts the answer to \a history, to be written into the message \a assistantId of the chat. The chat
    /// must have no run.
    void start(const QString& chatId, const QList<ChatMessage>& history, const QString& assistantId);
    /// Stops the chat's answer; the run ends from the event loop and marks the message. Nothing without a
    /// run.
    void stop(const QString& chatId);
    /// Drops the chat's run at once; it does not touch the store any more.
    void abandon(const QString& chatId);
    /// Drops every run likewise.
    void abandonAll();

Q_SIGNALS:
    /// The chat has a run now.
    void started(const QString& chatId);
    /// The chat's run is gone; its message is in its final state, unless the run was abandoned.
    void ended(const QString& chatId);
    /// The answer is a video or song that the service has begun to make; the chat's run is gone.
    void jobStarted(const QString& chatId, const QString& messageId);
    /// An answer came to its end by itself (a stop counts, an abandoned run does not).
    void answered(const QString& chatId);

private:
    /// What a run knows of itself, by value.
    struct Run {
        quint64 number = 0;
        quint64 claim = 0;
        QString chatId;
        QString messageId;
        QString givenTitle; ///< what the first message is called; the service's title replaces only this
        bool isPrivate = false;
        bool isFirst = false; ///< the chat's first exchange
    };
    struct Entry {
        quint64 number;
        Job job;
    };

    QCoro::Task<void> follow(Run run, QList<ChatMessage> history, std::stop_token stop);
    bool isCurrent(const Run& run) const;
    void change(const Run& run, const std::function<void(ChatMessage&)>& apply);
    void applyRoute(const Run& run, const JSONValue& route);
    void applyResult(const Run& run, const ChatResult& result);
    void finish(const Run& run, const std::optional<MessageError>& error);

    ChatStore& store_;
    ApiFactory api_;
    QHash<QString, Entry> runs_;
    quint64 lastNumber_ = 0;
    bool closing_ = false;
    Scope scope_;
};

} // namespace teskal
