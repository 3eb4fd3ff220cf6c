#include "TranscriptBridge.h"

#include "JsonWriter.h"
#include "MessageDisplay.h"
#include "TranscriptActions.h"

#include <algorithm>

namespace teskal {

namespace {

QByteArray jsonString(QStringView text) {
    JsonWriter writer;
    writer.string(text);
    return writer.take();
}

} // namespace

TranscriptBridge::TranscriptBridge(TranscriptActions& actions, QObject* parent)
    : QObject(parent), actions_(actions) {}

TranscriptBridge::~TranscriptBridge() = default;

void TranscriptBridge::setPage(PagePort* page) {
    if (page_)
        page_->disconnect(this);
    ready_ = false;
    forgetShown();
    page_ = page;
    if (!page)
        return;
    connect(page, &PagePort::messageReceived, this, &TranscriptBridge::receive);
    connect(page, &PagePort::processEnded, this, &TranscriptBridge::pageLost);
}

void TranscriptBridge::forgetShown() {
    if (page_)
        page_->inlineFiles().clear();
    shownChatId_.reset();
    shownMessages_.clear();
    shownBusy_.reset();
    shownTheme_.reset();
}

void TranscriptBridge::pageReady() {
    ready_ = true;
    forgetShown();
    pushTheme();
    actions_.showCurrentChat();
}

void TranscriptBridge::pageLost() {
    ready_ = false;
    if (page_)
        page_->reload();
}

void TranscriptBridge::show(const Chat* chat, bool busy) {
    if (!isReady())
        return;
    pushTheme();
    if (chat) {
        showChat(*chat);
    } else if (shownChatId_) {
        call("setChat", {"null"});
        page_->inlineFiles().clear();
        shownChatId_.reset();
        shownMessages_.clear();
    }
    setBusy(busy);
}

void TranscriptBridge::showChat(const Chat& chat) {
    if (!canUpdateInPlace(chat)) {
        if (shownChatId_ != chat.id)
            page_->inlineFiles().clear();
        call("setChat", {displayJson(chat.id, chat.messages, page_->inlineFiles())});
        shownChatId_ = chat.id;
        shownMessages_.assign(chat.messages.cbegin(), chat.messages.cend());
        return;
    }
    for (std::size_t i = 0; i < std::size_t(chat.messages.size()); ++i) {
        const ChatMessage& message = chat.messages[qsizetype(i)];
        if (i < shownMessages_.size() && shownMessages_[i] == message)
            continue;
        upsert(message);
        if (i < shownMessages_.size())
            shownMessages_[i] = message;
        else
            shownMessages_.push_back(message);
    }
}

bool TranscriptBridge::canUpdateInPlace(const Chat& chat) const {
    return shownChatId_ == chat.id && std::size_t(chat.messages.size()) >= shownMessages_.size() &&
           std::equal(shownMessages_.begin(), shownMessages_.end(), chat.messages.begin(),
                      [](const ChatMessage& a, const ChatMessage& b) { return a.id == b.id; });
}

void TranscriptBridge::showMessage(const QString& chatId, const ChatMessage& message) {
    if (!isReady() || shownChatId_ != chatId)
        return;
    // From the end: the message that streams is the last one.
    const auto shown = std::find_if(shownMessages_.rbegin(), shownMessages_.rend(),
                                    [&message](const ChatMessage& other) { return other.id == message.id; });
    if (shown == shownMessages_.rend() || *shown == message)
        return;
    upsert(message);
    *shown = message;
}

void TranscriptBridge::upsert(const ChatMessage& message) {
    page_->upsert(message);
}

void TranscriptBridge::setBusy(bool busy) {
    if (!isReady() || shownBusy_ == busy)
        return;
    call("setBusy", {busy ? "true" : "false"});
    shownBusy_ = busy;
}

void TranscriptBridge::setTheme(PageTheme theme) {
    theme_ = theme;
    pushTheme();
}

void TranscriptBridge::pushTheme() {
    if (!isReady() || shownTheme_ == theme_)
        return;
    call("setTheme", {theme_ == PageTheme::Dark ? jsonString(u"dark") : jsonString(u"light")});
    shownTheme_ = theme_;
}

void TranscriptBridge::scrollToBottom() {
    if (isReady())
        call("scrollToBottom");
}

void TranscriptBridge::call(const char* function, const QList<QByteArray>& arguments) {
    page_->call(function, arguments);
}

void TranscriptBridge::receive(const QJsonObject& message) {
    const QString type = message.value(QLatin1String("type")).toString();
    const QJsonValue text = message.value(QLatin1String("text"));
    const QJsonValue url = message.value(QLatin1String("url"));
    if (type == QLatin1String("ready"))
        pageReady();
    else if (type == QLatin1String("send") && text.isString())
        actions_.send(text.toString());
    else if (type == QLatin1String("retry"))
        actions_.retry();
    else if (type == QLatin1String("copy") && text.isString())
        actions_.copyText(text.toString());
    else if (type == QLatin1String("openLink") && url.isString())
        actions_.openLink(url.toString());
    else if (type == QLatin1String("signIn"))
        actions_.signIn();
}

} // namespace teskal
