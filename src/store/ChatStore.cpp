#include "ChatStore.h"

#include "AtomicFile.h"
#include "ChatRepair.h"
#include "Clock.h"
#include "IDs.h"
#include "Log.h"
#include "Timestamp.h"

#include <algorithm>

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
           now.updatedAt == before.updatedAt && now.messages.isSharedWith(before.messages);
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
    const auto it =
        std::find_if(chats_.begin(), chats_.end(), [wanted](const ChatPtr& c) { return c.get() == wanted; });
    return int(it - chats_.begin());
}

void ChatStore::claim(const std::optional<QString>& owner) {
    if (owner == owner_)
        return;
    flush();
    ++claimGeneration_;
    owner_ = owner;
    file_.reset();
    chats_.clear();
    byId_.clear();
    privateChat_.reset();
    saveTimer_.reset();
    unsaved_ = false;
    if (owner_) {
        file_.emplace(folder_, *owner_);
        bool repaired = false;
        QList<Chat> loaded = file_->read();
        for (Chat& chat : loaded) {
            if (repairLoadedChat(chat)) {
                chat.updatedAt += 1; // so that the mended answer reaches the other devices
                repaired = true;
            }
            if (byId_.contains(chat.id))
                continue; // a file written by hand; the first, newest one stays
            chats_.push_back(std::make_unique<Chat>(std::move(chat)));
            byId_.insert(chats_.back()->id, chats_.back().get());
        }
        std::stable_sort(chats_.begin(), chats_.end(),
                         [](const ChatPtr& a, const ChatPtr& b) { return a->updatedAt > b->updatedAt; });
        if (repaired)
            scheduleSave();
    }
    Q_EMIT claimed();
}

QString ChatStore::create(const QString& title) {
    auto chat = std::make_unique<Chat>();
    chat->id = IDs::make();
    chat->title = title.isEmpty() ? QStringLiteral("New chat") : title;
    chat->createdAt = clock_.nowMs();
    chat->updatedAt = chat->createdAt;
    QString id = chat->id;
    byId_.insert(id, chat.get());
    chats_.insert(chats_.begin(), std::move(chat));
    Q_EMIT chatInserted(0);
    scheduleSave();
    return id;
}

void ChatStore::update(const QString& id, Touch touch, Save save, const std::function<void(Chat&)>& change) {
    Chat* chat = find(id);
    if (!chat)
        return;
    const Chat before = *chat;
    change(*chat);
    if (touch == Touch::No && isSame(*chat, before))
        return;
    if (touch == Touch::Yes)
        touchChat(*chat);
    Q_EMIT chatChanged(id);
    noteChange(id, save);
}

void ChatStore::updateMessage(const QString& chatId, const QString& messageId, Touch touch, Save save,
                              const std::function<void(ChatMessage&)>& change) {
    Chat* chat = find(chatId);
    ChatMessage* message = chat ? findMessage(*chat, messageId) : nullptr;
    if (!message)
        return;
    const ChatMessage before = *message;
    change(*message);
    if (touch == Touch::No && *message == before)
        return;
    if (touch == Touch::Yes)
        touchChat(*chat);
    Q_EMIT messageChanged(chatId, messageId);
    noteChange(chatId, save);
}

void ChatStore::noteChange(const QString& chatId, Save save) {
    if (isPrivate(chatId))
        return;
    if (save == Save::Yes)
        scheduleSave();
    else
        unsaved_ = true; // worth a write only when there is one anyway, as when the application ends
}

void ChatStore::touchChat(Chat& chat) {
    setUpdatedAt(chat, touchedTime(clock_.nowMs(), chat.updatedAt));
}

void ChatStore::setUpdatedAt(Chat& chat, double time) {
    chat.updatedAt = time;
    const int from = rowOf(chat.id);
    if (from < 0)
        return;
    const auto begin = chats_.begin();
    // Only this chat moved forward: its new place is behind everything newer, before its old one.
    const auto place = std::find_if(
        begin, begin + from, [&chat](const ChatPtr& other) { return other->updatedAt < chat.updatedAt; });
    const int to = int(place - begin);
    if (to == from)
        return;
    std::rotate(place, begin + from, begin + from + 1);
    Q_EMIT chatMoved(from, to);
}

void ChatStore::remove(const QString& id) {
    if (isPrivate(id)) {
        privateChat_.reset();
        return;
    }
    const int row = rowOf(id);
    if (row < 0)
        return;
    byId_.remove(id);
    chats_.erase(chats_.begin() + row);
    Q_EMIT chatRemoved(row, id);
    scheduleSave();
}

void ChatStore::stopPending() {
    std::vector<Chat*> changed;
    for (const ChatPtr& chat : chats_)
        if (stopPendingMessages(*chat))
            changed.push_back(chat.get());
    if (!changed.empty())
        scheduleSave();
    for (Chat* chat : changed)
        setUpdatedAt(*chat, chat->updatedAt + 1);
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
    saveTimer_ = clock_.after(saveDelay, [this] { flush(); });
}

void ChatStore::flush() {
    saveTimer_.reset();
    if (!owner_ || !unsaved_)
        return;
    unsaved_ = !save();
}

bool ChatStore::save() {
    ChatArrayWriter writer;
    for (const ChatPtr& chat : chats_)
        writer.append(*chat);
    try {
        file_->write(writer.take(), clock_.nowMs());
        return true;
    } catch (const FileError& error) {
        logLine(QStringLiteral("could not save chats: ") + error.text());
        return false;
    }
}

} // namespace teskal
