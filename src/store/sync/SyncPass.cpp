#include "SyncPass.h"

#include "ChatStore.h"
#include "HttpError.h"
#include "IDs.h"
#include "JsonError.h"
#include "Log.h"
#include "SyncFailure.h"
#include "WireConversion.h"

#include <algorithm>

namespace teskal {

namespace {

/// How long a delivered deletion is remembered, in ms: devices that were away come back with old copies.
constexpr double sentDeletesLife = 30.0 * 24 * 60 * 60 * 1000;

bool isAnswering(const Chat& chat) {
    return std::any_of(chat.messages.cbegin(), chat.messages.cend(),
                       [](const ChatMessage& message) { return message.pending; });
}

void logNotSynced(const QString& id, const Error& error) {
    logLine(QStringLiteral("chat %1 not synced: %2").arg(id, error.text()));
}

/// The deletion of the chat that is known here, delivered or not.
std::optional<double> deletionOf(const SyncState& state, const QString& id) {
    for (const SyncState::Times* times : {&state.deletes, &state.sentDeletes})
        if (const auto time = times->constFind(id); time != times->constEnd())
            return *time;
    return std::nullopt;
}

} // namespace

SyncPass::SyncPass(ChatStore& store, std::shared_ptr<SyncAccount> account, FileUploads& uploads,
                   std::stop_token stop)
    : store_(store), account_(std::move(account)), uploads_(uploads), stop_(std::move(stop)) {}

QCoro::Task<void> SyncPass::run() {
    auto listing = account_->api.listChats(stop_);
    const ChatList list = co_await listing;
    account_->requireCurrent();
    account_->enabled = list.enabled;
    if (!list.enabled)
        co_return;
    for (const ChatListEntry& entry : list.chats) {
        if (!IDs::isSyncable(entry.id))
            continue;
        if (entry.deleted) {
            pullTombstone(entry);
        } else if (needsPull(entry)) {
            auto pulling = pull(entry);
            co_await pulling;
        }
    }
    auto deleting = deliverDeletes();
    co_await deleting;
    auto pushing = pushAll();
    co_await pushing;
}

void SyncPass::pullTombstone(const ChatListEntry& entry) {
    if (!store_.chat(entry.id) || !mayReplace(entry.id, entry.updatedAt))
        return; // what changed after its deletion is pushed, and the service decides
    store_.removeQuiet(entry.id);
    account_->changed = account_->state.confirmed.remove(entry.id) > 0 || account_->changed;
    hasPulled_ = true;
}

bool SyncPass::needsPull(const ChatListEntry& entry) {
    SyncState& state = account_->state;
    if (const auto deleted = deletionOf(state, entry.id)) {
        if (entry.updatedAt <= *deleted)
            return false;
        // Another device changed it after it was deleted here: it comes back.
        state.deletes.remove(entry.id);
        state.sentDeletes.remove(entry.id);
        account_->changed = true;
    }
    const auto confirmed = state.confirmed.constFind(entry.id);
    if (confirmed != state.confirmed.constEnd() && entry.updatedAt <= *confirmed)
        return false;
    const Chat* local = store_.chat(entry.id);
    if (local && local->updatedAt == entry.updatedAt) {
        account_->confirm(entry.id, entry.updatedAt);
        return false;
    }
    const auto refused = account_->refusedPulls.constFind(entry.id);
    return mayReplace(entry.id, entry.updatedAt) &&
           (refused == account_->refusedPulls.constEnd() || *refused != entry.updatedAt);
}

QCoro::Task<void> SyncPass::pull(ChatListEntry entry) {
    try {
        auto getting = account_->api.getChat(entry.id, stop_);
        const std::optional<WireChat> wire = co_await getting;
        account_->requireCurrent();
        if (!wire)
            co_return; // deleted since it was listed
        if (wire->id != entry.id)
            throw JsonError(QStringLiteral("the reply holds another chat"));
        if (mayReplace(entry.id, wire->updatedAt))
            adopt(*wire);
    } catch (const APIError& error) {
        account_->requireCurrent();
        if (syncFailure(error) != SyncFailure::ThisChat)
            throw;
        account_->refusedPulls.insert(entry.id, entry.updatedAt);
        logNotSynced(entry.id, error);
    } catch (const JsonError& error) {
        account_->requireCurrent();
        account_->refusedPulls.insert(entry.id, entry.updatedAt);
        logNotSynced(entry.id, error);
    } catch (const HttpError& error) {
        account_->requireCurrent();
        if (error.kind() != HttpError::Kind::TooLarge && error.kind() != HttpError::Kind::BrokenReply)
            throw;
        account_->refusedPulls.insert(entry.id, entry.updatedAt);
        logNotSynced(entry.id, error);
    }
}

bool SyncPass::mayReplace(const QString& id, double time) const {
    if (account_->state.deletes.contains(id))
        return false;
    const Chat* local = store_.chat(id);
    return !local || (!isAnswering(*local) && local->updatedAt <= time);
}

void SyncPass::adopt(const WireChat& wire) {
    store_.upsertQuiet(localChat(wire, store_.chat(wire.id), store_.nowMs()));
    account_->confirm(wire.id, wire.updatedAt);
    hasPulled_ = true;
}

QCoro::Task<void> SyncPass::deliverDeletes() {
    SyncState& state = account_->state;
    const double oldest = store_.nowMs() - sentDeletesLife;
    const auto dropped =
        state.sentDeletes.removeIf([oldest](const auto& entry) { return entry.value() < oldest; });
    account_->changed = account_->changed || dropped > 0;
    const SyncState::Times deletes = state.deletes; // the user may delete more meanwhile
    for (auto it = deletes.cbegin(); it != deletes.cend(); ++it) {
        if (account_->refusedDeletes.value(it.key(), -1) == it.value())
            continue;
        auto delivering = deliverDelete(it.key(), it.value());
        co_await delivering;
    }
}

QCoro::Task<void> SyncPass::deliverDelete(QString id, double at) {
    try {
        auto deleting = account_->api.deleteChat(id, at, stop_);
        co_await deleting;
    } catch (const APIError& error) {
        account_->requireCurrent();
        const bool isGone = error.status() == 404 || error.status() == 410;
        if (!isGone && syncFailure(error) != SyncFailure::ThisChat)
            throw;
        if (!isGone) {
            account_->refusedDeletes.insert(id, at);
            logNotSynced(id, error);
            co_return;
        }
    }
    account_->requireCurrent();
    SyncState& state = account_->state;
    if (state.deletes.value(id, -1) != at)
        co_return;
    state.deletes.remove(id);
    state.sentDeletes.insert(id, at);
    account_->changed = true;
}

QCoro::Task<void> SyncPass::pushAll() {
    QStringList ids; // the list may change during every wait
    for (int row = 0; row < store_.count(); ++row)
        if (const QString& id = store_.at(row).id; needsPush(id))
            ids.append(id);
    for (const QString& id : ids) {
        if (!needsPush(id))
            continue;
        auto pushing = push(id);
        co_await pushing;
    }
}

bool SyncPass::needsPush(const QString& id) const {
    const SyncState& state = account_->state;
    const Chat* chat = store_.chat(id);
    return chat && chat->updatedAt > state.confirmed.value(id, 0) && !state.deletes.contains(id) &&
           IDs::isSyncable(id) && !store_.isPrivate(id) &&
           account_->refusedPushes.value(id, -1) != chat->updatedAt &&
           account_->sentWhileAnswering.value(id, -1) != chat->updatedAt;
}

QCoro::Task<void> SyncPass::push(QString id) {
    auto uploading = uploads_.giveIdentifiers(id, stop_);
    co_await uploading;
    if (!needsPush(id))
        co_return;
    const WireChat sent = wireChat(*store_.chat(id));
    try {
        auto putting = account_->api.putChat(sent, stop_);
        const ChatPutOutcome outcome = co_await putting;
        account_->requireCurrent();
        apply(sent, outcome);
    } catch (const APIError& error) {
        account_->requireCurrent();
        if (syncFailure(error) != SyncFailure::ThisChat)
            throw;
        account_->refusedPushes.insert(id, sent.updatedAt);
        logNotSynced(id, error);
    } catch (const JsonError& error) {
        account_->requireCurrent();
        account_->refusedPushes.insert(id, sent.updatedAt); // when it was stored, the next list confirms it
        logNotSynced(id, error);
    }
}

void SyncPass::apply(const WireChat& sent, const ChatPutOutcome& outcome) {
    if (const auto* newer = std::get_if<NewerChat>(&outcome)) {
        if (newer->chat.id != sent.id)
            throw JsonError(QStringLiteral("the reply holds another chat"));
        if (store_.chat(sent.id) && mayReplace(sent.id, newer->chat.updatedAt))
            adopt(newer->chat);
        return;
    }
    if (!store_.chat(sent.id))
        return;
    if (!mayReplace(sent.id, sent.updatedAt)) {
        if (std::holds_alternative<ChatSaved>(outcome))
            account_->sentWhileAnswering.insert(sent.id, sent.updatedAt);
        return;
    }
    if (std::holds_alternative<ChatSaved>(outcome)) {
        account_->confirm(sent.id, sent.updatedAt);
        return;
    }
    store_.removeQuiet(sent.id);
    account_->state.confirmed.remove(sent.id);
    account_->state.sentDeletes.insert(sent.id, store_.nowMs());
    account_->changed = true;
    hasPulled_ = true;
}

} // namespace teskal
