#include "ChatStore.h"

#include "ChatRepair.h"
#include "Clock.h"
#include "IDs.h"
#include "Timestamp.h"

#include <algorithm>
#include <iterator>

namespace teskal {

namespace {

constexpr std::chrono::milliseconds saveDelay{600};

ChatMessage* findMessage(Chat& chat, const QString& id) {
    // From the end: the message that streams is the last one. Reading through a const view first, because a
    // list that is shared would be copied by a writable iterator even when nothing is found.
    const QList<ChatMessage>& messages = chat.messages;
    for (qsizetype i = messages.size() - 1; i >= 0; --i)
        if (messages[i].id == id)
            return &chat.messages[i];
    return nullptr;
}

/// Whether a change left the chat as it was. A list of messages that was opened for writing counts as
/// another.
bool isSame(const Chat& now, const Chat& before) {
    return now.title == before.title && now.createdAt == before.createdAt &&
           now.messages.isSharedWith(before.messages);
}

} // namespace

ChatStore::ChatStore(QString folder, Clock& clock, QObject* parent)
    : QObject(parent), folder_(std::move(folder)), clock_(clock) {}

ChatStore::~ChatStore() = default;

const Chat* ChatStore::chat(const QString& id) const {
    return isPrivate(id) ? privateChat_.get() : byId_.value(id, nullptr);
}

double ChatStore::nowMs() const {
    return clock_.nowMs();
}

Chat* ChatStore::find(const QString& id) {
    if (!chat(id))
        finishLoading();
    return isPrivate(id) ? privateChat_.get() : byId_.value(id, nullptr);
}

const ChatMessage* ChatStore::message(const QString& chatId, const QString& messageId) const {
    const Chat* owner = chat(chatId);
    if (!owner)
        return nullptr;
    for (auto it = owner->messages.crbegin(); it != owner->messages.crend(); ++it)
        if (it->id == messageId)
            return &*it;
    return nullptr;
}

int ChatStore::rowOf(const QString& id) const {
    const Chat* wanted = byId_.value(id, nullptr);
    if (!wanted)
        return -1;
    // The list is in the order of times: only the chats of the same time are looked at.
    auto it = std::partition_point(chats_.begin(), chats_.end(),
                                   [wanted](const ChatPtr& c) { return c->updatedAt > wanted->updatedAt; });
    while (it->get() != wanted)
        ++it;
    return int(it - chats_.begin());
}

int ChatStore::placeFor(double updatedAt, int begin, int end) const {
    const auto place =
        std::partition_point(chats_.begin() + begin, chats_.begin() + end,
                             [updatedAt](const ChatPtr& c) { return c->updatedAt >= updatedAt; });
    return int(place - chats_.begin());
}

void ChatStore::claim(const std::optional<QString>& owner) {
    if (owner == owner_)
        return;
    flush();
    ++claimGeneration_;
    owner_ = owner;
    saver_.reset();
    chats_.clear();
    byId_.clear();
    setPrivateChat(std::nullopt);
    saveTimer_.reset();
    unsaved_ = false;
    saveAgain_ = false;
    waitForThisSave_.clear();
    waitForNextSave_.clear();
    if (owner_) {
        saver_ = std::make_unique<ChatSaver>(folder_, *owner_);
        saver_->load([this](AccountChats account, const QSet<QString>& withdrawn) {
            takeLoaded(std::move(account), withdrawn);
        });
        if (!readingHeld_)
            saver_->begin();
    }
    Q_EMIT listReset();
}

void ChatStore::holdReading(bool hold) {
    readingHeld_ = hold;
    if (!hold && saver_)
        saver_->begin();
}

void ChatStore::finishLoading() {
    if (isLoading())
        saver_->finish();
}

void ChatStore::hurryLoading() {
    if (isLoading())
        saver_->hurry();
}

void ChatStore::takeLoaded(AccountChats account, const QSet<QString>& withdrawn) {
    if (account.mended)
        scheduleSave();
    addLoaded(std::move(account.chats));
    if (isLoading()) {
        Q_EMIT newestLoaded();
        return;
    }
    for (const QString& id : withdrawn)
        if (byId_.contains(id)) // whoever heard of the others may have removed it
            take(rowOf(id));
    if (std::exchange(saveAgain_, false))
        startSave();
    Q_EMIT loaded();
}

void ChatStore::addLoaded(std::vector<ChatPtr> chats) {
    byId_.reserve(qsizetype(chats_.size()) + qsizetype(chats.size()));
    for (const ChatPtr& chat : chats)
        byId_.insert(chat->id, chat.get());
    const auto middle = std::ptrdiff_t(chats_.size());
    std::move(chats.begin(), chats.end(), std::back_inserter(chats_));
    std::inplace_merge(chats_.begin(), chats_.begin() + middle, chats_.end(),
                       [](const ChatPtr& a, const ChatPtr& b) { return a->updatedAt > b->updatedAt; });
}

QString ChatStore::create(const QString& title) {
    auto chat = std::make_unique<Chat>();
    chat->id = IDs::make();
    chat->title = title.isEmpty() ? QStringLiteral("New chat") : title;
    chat->createdAt = clock_.nowMs();
    chat->updatedAt = chat->createdAt;
    QString id = chat->id;
    insert(std::move(chat));
    noteChange(id, Save::Yes);
    return id;
}

void ChatStore::insert(ChatPtr chat) {
    // Before its equals: the chat made last stands first.
    const auto place = std::partition_point(
        chats_.begin(), chats_.end(), [&chat](const ChatPtr& c) { return c->updatedAt > chat->updatedAt; });
    const int row = int(place - chats_.begin());
    byId_.insert(chat->id, chat.get());
    chats_.insert(place, std::move(chat));
    Q_EMIT chatInserted(row);
}

ChatStore::ChatPtr ChatStore::take(int row) {
    ChatPtr chat = std::move(chats_[std::size_t(row)]);
    byId_.remove(chat->id);
    chats_.erase(chats_.begin() + row);
    Q_EMIT chatRemoved(row, chat->id);
    return chat;
}

void ChatStore::setPrivateChat(std::optional<Chat> chat) {
    const ChatPtr before =
        std::exchange(privateChat_, chat ? std::make_unique<Chat>(std::move(*chat)) : nullptr);
    if (before)
        Q_EMIT privateChatEnded();
}

void ChatStore::update(const QString& id, Touch touch, Save save, const std::function<void(Chat&)>& change) {
    Chat* chat = find(id);
    if (!chat)
        return;
    const Chat before = *chat;
    change(*chat);
    chat->updatedAt = before.updatedAt; // the place in the list goes by it: it changes by a touch alone
    if (touch == Touch::No && isSame(*chat, before))
        return;
    if (touch == Touch::Yes)
        touchChat(*chat);
    Q_EMIT chatChanged(id);
    noteChange(id, save);
}

void ChatStore::updateMessage(const QString& chatId, const QString& messageId, Touch touch, Save save,
                              const std::function<void(ChatMessage&)>& change) {
    if (changeMessage(chatId, messageId, touch, change))
        noteChange(chatId, save);
}

void ChatStore::updateMessageQuiet(const QString& chatId, const QString& messageId,
                                   const std::function<void(ChatMessage&)>& change) {
    if (!changeMessage(chatId, messageId, Touch::No, change))
        return;
    if (Chat* chat = find(chatId)) // who heard of the change may have removed it
        setUpdatedAt(*chat, chat->updatedAt + 1);
    noteChange(chatId, Save::Yes, Origin::Elsewhere);
}

bool ChatStore::changeMessage(const QString& chatId, const QString& messageId, Touch touch,
                              const std::function<void(ChatMessage&)>& change) {
    Chat* chat = find(chatId);
    ChatMessage* message = chat ? findMessage(*chat, messageId) : nullptr;
    if (!message)
        return false;
    const ChatMessage before = *message;
    change(*message);
    if (touch == Touch::No && *message == before)
        return false;
    if (touch == Touch::Yes)
        touchChat(*chat);
    Q_EMIT messageChanged(chatId, messageId);
    return true;
}

void ChatStore::noteChange(const QString& chatId, Save save, Origin origin) {
    if (isPrivate(chatId) || !owner_)
        return;
    saver_->noteChanged(chatId);
    if (save == Save::Yes)
        scheduleSave();
    else
        unsaved_ = true; // worth a write only when there is one anyway, as when the application ends
    if (save == Save::Yes && origin == Origin::User)
        Q_EMIT edited();
}

void ChatStore::rename(const QString& id, const QString& title) {
    update(id, Touch::Yes, Save::Yes, [&title](Chat& chat) { chat.title = title; });
}

void ChatStore::touchChat(Chat& chat) {
    setUpdatedAt(chat, touchedTime(clock_.nowMs(), chat.updatedAt));
}

void ChatStore::setUpdatedAt(Chat& chat, double time) {
    const int from = rowOf(chat.id);
    chat.updatedAt = time;
    if (from < 0)
        return;
    // Only this chat moves: what was before it and is not newer comes behind it, and the other way round.
    const auto old = chats_.begin() + from;
    const int before = placeFor(time, 0, from);
    const int to = before < from ? before : placeFor(time, from + 1, count()) - 1;
    if (to == from)
        return;
    if (to < from)
        std::rotate(chats_.begin() + to, old, old + 1);
    else
        std::rotate(old, old + 1, chats_.begin() + to + 1);
    Q_EMIT chatMoved(from, to);
}

void ChatStore::remove(const QString& id) {
    if (isPrivate(id)) {
        setPrivateChat(std::nullopt);
        return;
    }
    if (!find(id))
        return;
    const ChatPtr gone = take(rowOf(id));
    noteChange(id, Save::Yes);
    Q_EMIT deletedByUser({{gone->id, gone->updatedAt}});
}

void ChatStore::removeAll() {
    finishLoading();
    if (chats_.empty())
        return;
    QList<RemovedChat> gone;
    for (const ChatPtr& chat : chats_)
        gone.append({chat->id, chat->updatedAt});
    chats_.clear();
    byId_.clear();
    Q_EMIT listReset();
    for (const RemovedChat& chat : gone)
        noteChange(chat.id, Save::No);
    noteChange(gone.first().id, Save::Yes); // one save, and told once
    Q_EMIT deletedByUser(gone);
}

void ChatStore::upsertQuiet(const Chat& chat) {
    if (isPrivate(chat.id) || !owner_)
        return;
    if (Chat* known = find(chat.id)) {
        if (*known == chat)
            return;
        const double oldTime = known->updatedAt;
        *known = chat;
        known->updatedAt = oldTime; // its place in the list is still that of the old one
        setUpdatedAt(*known, chat.updatedAt);
        Q_EMIT chatChanged(chat.id);
    } else {
        insert(std::make_unique<Chat>(chat));
    }
    noteChange(chat.id, Save::Yes, Origin::Elsewhere);
}

void ChatStore::removeQuiet(const QString& id) {
    if (isPrivate(id) || !find(id))
        return;
    const ChatPtr gone = take(rowOf(id)); // may be what holds the identifier
    noteChange(gone->id, Save::Yes, Origin::Elsewhere);
}

void ChatStore::stopPending() {
    std::vector<Chat*> changed;
    for (const ChatPtr& chat : chats_)
        if (stopPendingMessages(*chat))
            changed.push_back(chat.get());
    for (Chat* chat : changed) {
        setUpdatedAt(*chat, chat->updatedAt + 1);
        noteChange(chat->id, Save::Yes);
    }
    if (privateChat_ && stopPendingMessages(*privateChat_))
        changed.push_back(privateChat_.get());
    QStringList ids;
    for (const Chat* chat : changed)
        ids.append(chat->id);
    for (const QString& id : ids)
        Q_EMIT chatChanged(id);
}

void ChatStore::scheduleSave() {
    unsaved_ = true;
    saveTimer_ = clock_.after(saveDelay, [this] { startSave(); });
}

void ChatStore::startSave() {
    saveTimer_.reset();
    saveAgain_ = saver_->isWriting() || saver_->isLoading();
    if (saveAgain_)
        return;
    unsaved_ = false;
    waitForThisSave_ = std::exchange(waitForNextSave_, {});
    std::vector<const Chat*> chats;
    chats.reserve(chats_.size());
    for (const ChatPtr& chat : chats_)
        chats.push_back(chat.get());
    saver_->write(chats, clock_.nowMs(), [this](ChatSaver::Outcome outcome) { saveEnded(outcome); });
}

void ChatStore::saveEnded(ChatSaver::Outcome outcome) {
    std::vector<CompletionSource<bool>> waiters = std::exchange(waitForThisSave_, {});
    if (outcome == ChatSaver::Outcome::StartAgain) {
        std::move(waiters.begin(), waiters.end(), std::back_inserter(waitForNextSave_));
        startSave();
        return;
    }
    if (outcome == ChatSaver::Outcome::Failed)
        unsaved_ = true;
    for (CompletionSource<bool>& waiter : waiters)
        waiter.succeed(outcome == ChatSaver::Outcome::Written);
    if (saveAgain_)
        startSave();
}

void ChatStore::flush() {
    if (!saver_ || (isLoading() && !unsaved_))
        return;
    saver_->finish();
    if (unsaved_)
        startSave();
    saver_->finish();
}

Completion<bool> ChatStore::written() {
    CompletionSource<bool> source;
    Completion<bool> outcome = source.completion();
    if (unsaved_) {
        waitForNextSave_.push_back(std::move(source));
        startSave();
    } else if (saver_ && saver_->isWriting()) {
        waitForThisSave_.push_back(std::move(source));
    } else {
        source.succeed(true);
    }
    return outcome;
}

} // namespace teskal
