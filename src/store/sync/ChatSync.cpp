#include "ChatSync.h"

#include "Cancelled.h"
#include "Clock.h"
#include "FileUploads.h"
#include "IDs.h"
#include "Log.h"
#include "SyncFailure.h"
#include "SyncPass.h"

#include <algorithm>
#include <cmath>

namespace teskal {

namespace {

constexpr std::chrono::seconds pullInterval{30};
constexpr std::chrono::milliseconds deleteDelay{1500};

/// Of a failure that lasts, as the end of a session does, one line is enough.
void logFailure(SyncAccount& account, const Error& error) {
    if (std::exchange(account.logged, error.text()) != error.text())
        logLine(QStringLiteral("history sync failed: ") + error.text());
}

/// Forgets what the files do not bear out: the last save of the chats may be older than that of the state.
bool dropUnheld(SyncState::Times& confirmed, const ChatStore& store) {
    return confirmed.removeIf([&store](const auto& entry) {
        const Chat* chat = store.chat(entry.key());
        return !chat || chat->updatedAt < entry.value();
    }) > 0;
}

void removeDeleted(const SyncState::Times& deletions, ChatStore& store) {
    for (auto it = deletions.cbegin(); it != deletions.cend(); ++it)
        if (const Chat* chat = store.chat(it.key()); chat && chat->updatedAt <= it.value())
            store.removeQuiet(it.key());
}

} // namespace

ChatSync::ChatSync(QString folder, ChatStore& store, Clock& clock, QObject* parent)
    : QObject(parent), folder_(std::move(folder)), store_(store), clock_(clock) {
    connect(&store, &ChatStore::loaded, this, &ChatSync::chatsLoaded);
}

ChatSync::~ChatSync() {
    if (account_)
        account_->left = true;
}

void ChatSync::claim(const std::optional<QString>& owner, const std::optional<TeskalAPI>& api) {
    if (owner == owner_)
        return;
    leaveAccount();
    owner_ = owner;
    if (owner && api)
        load(*owner, *api);
}

void ChatSync::leaveAccount() {
    flush();
    pushTimer_.reset();
    pullTimer_.reset();
    scope_.cancelAll();
    file_.reset();
    if (account_)
        account_->left = true;
    account_.reset();
}

void ChatSync::load(const QString& owner, const TeskalAPI& api) {
    account_ = std::make_shared<SyncAccount>(api);
    file_ = std::make_unique<SyncStateFile>(folder_, owner);
    if (!store_.isLoading())
        alignWithChats();
    pullLater();
}

void ChatSync::chatsLoaded() {
    if (!account_)
        return;
    alignWithChats();
    if (std::exchange(account_->again, false))
        sync();
}

/// Not before it is needed: the state of many chats takes a while.
void ChatSync::readState() {
    if (!std::exchange(account_->stateRead, true))
        account_->state = file_->load();
}

void ChatSync::alignWithChats() {
    readState();
    removeDeleted(account_->state.deletes, store_);
    removeDeleted(account_->state.sentDeletes, store_);
    account_->changed = dropUnheld(account_->state.confirmed, store_) || account_->changed;
}

void ChatSync::resume() {
    if (!account_)
        return;
    ++account_->signIns;
    account_->enabled = true;
    account_->refusedPulls.clear();
    account_->refusedPushes.clear();
    account_->refusedDeletes.clear();
}

void ChatSync::pullLater() {
    pullTimer_ = clock_.after(pullInterval, [this] {
        pullLater();
        if (!isRunning())
            sync();
    });
}

void ChatSync::syncSoon(std::chrono::milliseconds delay) {
    if (account_)
        pushTimer_ = clock_.after(delay, [this] {
            pushTimer_.reset();
            sync();
        });
}

void ChatSync::recordDeletes(const QList<RemovedChat>& chats) {
    if (!account_)
        return;
    readState();
    const double now = store_.nowMs();
    for (const RemovedChat& chat : chats) {
        if (!IDs::isSyncable(chat.id))
            continue;
        // Later than the chat even when mending it after a crash makes that 1 ms newer.
        account_->state.deletes.insert(chat.id, std::max(now, std::ceil(chat.updatedAt) + 1));
        account_->state.confirmed.remove(chat.id);
        account_->changed = true;
    }
    // At once: a deletion that a crash took away would bring the chat back. What else the state says of chats
    // that are not on disk yet is dropped at the next claim if it comes to that.
    save();
    syncSoon(deleteDelay);
}

void ChatSync::sync() {
    if (!account_ || !account_->enabled)
        return;
    if (account_->running || store_.isLoading()) {
        account_->again = true; // what is not there yet must not count as gone
        return;
    }
    account_->running = true;
    scope_.launch(
        [this, account = account_](std::stop_token stop) { return runPasses(account, std::move(stop)); });
}

QCoro::Task<void> ChatSync::runPasses(std::shared_ptr<SyncAccount> account, std::stop_token stop) {
    bool goOn = true;
    while (goOn) {
        account->again = false;
        auto pass = runPass(account, stop);
        const bool ended = co_await pass;
        account->requireCurrent();
        auto saving = saveAfterChats(account, stop);
        co_await saving;
        account->requireCurrent();
        goOn = ended && account->again && account->enabled;
    }
    account->running = false;
}

/// False when the pass failed.
QCoro::Task<bool> ChatSync::runPass(std::shared_ptr<SyncAccount> account, std::stop_token stop) {
    FileUploads uploads(store_, account, decoder_,
                        [this](const QString& fileId, const QString& mediaType, const QByteArray& bytes) {
                            Q_EMIT uploaded(fileId, mediaType, bytes);
                        });
    SyncPass pass(store_, account, uploads, stop);
    const int signIns = account->signIns;
    const bool wasKnown = isHistoryKnown();
    bool ended = false;
    try {
        auto running = pass.run();
        co_await running;
        ended = true;
        account->historyKnown = true;
        account->logged.clear();
    } catch (const APIError& error) {
        account->requireCurrent();
        if (account->signIns != signIns)
            ended = true; // it was about the sign-in before
        else if (syncFailure(error) == SyncFailure::Unavailable)
            account->enabled = false;
        else
            logFailure(*account, error);
    } catch (const Error& error) {
        account->requireCurrent();
        logFailure(*account, error);
    } catch (const Cancelled&) {
        account->requireCurrent();
        if (stop.stop_requested())
            throw;
        // The source of the access token ended its work, not this one.
    }
    account->requireCurrent();
    if (pass.hasPulled())
        Q_EMIT pulled();
    account->requireCurrent();
    if (!wasKnown && isHistoryKnown())
        Q_EMIT historyKnown();
    co_return ended;
}

/// The chats first: the state must not speak of what a crash could still take away.
QCoro::Task<void> ChatSync::saveAfterChats(std::shared_ptr<SyncAccount> account, std::stop_token stop) {
    if (!account->changed)
        co_return;
    const auto writing = store_.written();
    const bool written = co_await writing.wait(stop);
    account->requireCurrent();
    if (written)
        save();
}

void ChatSync::save() {
    if (!std::exchange(account_->changed, false))
        return;
    file_->write(account_->state, store_.nowMs(), [account = account_] { account->changed = true; });
}

void ChatSync::flush() {
    if (!account_)
        return;
    store_.flush();
    file_->finish(); // a write that fails is due again
    save();
    file_->finish();
}

} // namespace teskal
