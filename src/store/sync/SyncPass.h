#pragma once

#include "ChatListEntry.h"
#include "ChatPutOutcome.h"
#include "FileUploads.h"
#include "SyncAccount.h"

#include <QCoroTask>
#include <QList>
#include <QString>

#include <memory>
#include <stop_token>

namespace teskal {

class ChatStore;

/// One exchange of everything that changed: what the service has is pulled, deletions are delivered, what
/// changed here is pushed. Must outlive its coroutines; every wait is followed by a look at what may have
/// changed meanwhile.
class SyncPass {
public:
    SyncPass(ChatStore& store, std::shared_ptr<SyncAccount> account, FileUploads& uploads,
             std::stop_token stop);

    /// Throws what ends the pass: APIError, HttpError, JsonError, what the token provider throws, Cancelled.
    /// What was done until then stays done.
    QCoro::Task<void> run();
    /// Whether chats of the store were changed or removed by what came from the service.
    bool hasPulled() const { return hasPulled_; }

private:
    void pullTombstone(const ChatListEntry& entry);
    bool needsPull(const ChatListEntry& entry);
    QCoro::Task<void> pull(ChatListEntry entry);
    QCoro::Task<void> deliverDeletes();
    QCoro::Task<void> deliverDelete(QString id, double at);
    QCoro::Task<void> pushAll();
    bool needsPush(const QString& id) const;
    QCoro::Task<void> push(QString id);
    void apply(const WireChat& sent, const ChatPutOutcome& outcome);
    /// Takes over the service's version.
    void adopt(const WireChat& wire);
    /// Whether what the service says about version \a time of the chat may change it here: not while an
    /// answer is arriving, after a newer change, or when the user has deleted it.
    bool mayReplace(const QString& id, double time) const;

    ChatStore& store_;
    std::shared_ptr<SyncAccount> account_;
    FileUploads& uploads_;
    std::stop_token stop_;
    bool hasPulled_ = false;
};

} // namespace teskal
