#include "TranscriptBridge.h"

#include "JsonWriter.h"
#include "MessageDisplay.h"
#include "TranscriptActions.h"

#include <algorithm>

namespace teskal {

namespace {

QStringView nameOf(AudioState state) {
    switch (state) {
    case AudioState::Loading:
        return u"loading";
    case AudioState::Playing:
        return u"playing";
    case AudioState::Idle:
        break;
    }
    return u"idle";
}

} // namespace

TranscriptBridge::TranscriptBridge(TranscriptActions& actions, QObject* parent)
    : QObject(parent), actions_(actions) {}

TranscriptBridge::~TranscriptBridge() = default;

void TranscriptBridge::setPage(PagePort* page) {
    if (page_)
        page_->disconnect(this);
    forgetPage();
    page_ = page;
    if (!page)
        return;
    connect(page, &PagePort::messageReceived, this, &TranscriptBridge::receive);
    connect(page, &PagePort::processEnded, this, &TranscriptBridge::pageLost);
}

void TranscriptBridge::forgetPage() {
    ready_ = false;
    ++pageLoad_;
    fetches_.cancelAll();
    if (page_)
        page_->inlineFiles().clear();
    shownChatId_.reset();
    shownMessages_.clear();
    shownBusy_.reset();
    shownTheme_.reset();
    knowsAudio_ = false;
}

void TranscriptBridge::pageLost() {
    forgetPage();
    if (page_)
        page_->reload();
}

void TranscriptBridge::show(const Chat* chat, bool busy) {
    if (!isReady())
        return;
    pushTheme();
    if (chat)
        showChat(*chat);
    else if (shownChatId_)
        showNoChat();
    pushAudio();
    setBusy(busy);
}

void TranscriptBridge::showChat(const Chat& chat) {
    if (canUpdateInPlace(chat))
        updateInPlace(chat);
    else
        replaceChat(chat);
}

void TranscriptBridge::showNoChat() {
    call("setChat", {"null"});
    page_->inlineFiles().clear();
    shownChatId_.reset();
    shownMessages_.clear();
}

bool TranscriptBridge::canUpdateInPlace(const Chat& chat) const {
    return shownChatId_ == chat.id && std::size_t(chat.messages.size()) >= shownMessages_.size() &&
           std::equal(shownMessages_.begin(), shownMessages_.end(), chat.messages.begin(),
                      [](const ChatMessage& a, const ChatMessage& b) { return a.id == b.id; });
}

void TranscriptBridge::replaceChat(const Chat& chat) {
    if (shownChatId_ != chat.id)
        page_->inlineFiles().clear();
    call("setChat", {displayJson(chat.id, chat.messages, page_->inlineFiles())});
    shownChatId_ = chat.id;
    shownMessages_.assign(chat.messages.cbegin(), chat.messages.cend());
    knowsAudio_ = false;
}

void TranscriptBridge::updateInPlace(const Chat& chat) {
    for (std::size_t i = 0; i < std::size_t(chat.messages.size()); ++i) {
        const ChatMessage& message = chat.messages[qsizetype(i)];
        if (i < shownMessages_.size() && shownMessages_[i] == message)
            continue;
        page_->upsert(message);
        if (i < shownMessages_.size())
            shownMessages_[i] = message;
        else
            shownMessages_.push_back(message);
    }
}

void TranscriptBridge::showMessage(const QString& chatId, const ChatMessage& message) {
    if (!isReady() || shownChatId_ != chatId)
        return;
    // From the end: the message that streams is the last one.
    const auto shown = std::find_if(shownMessages_.rbegin(), shownMessages_.rend(),
                                    [&message](const ChatMessage& other) { return other.id == message.id; });
    if (shown == shownMessages_.rend() || *shown == message)
        return;
    page_->upsert(message);
    *shown = message;
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

void TranscriptBridge::setAudio(const QString& messageId, AudioState state) {
    if (audio_.value(messageId, AudioState::Idle) == state)
        return;
    if (state == AudioState::Idle)
        audio_.remove(messageId);
    else
        audio_.insert(messageId, state);
    if (isReady())
        callSetAudio(messageId, state);
}

void TranscriptBridge::pushAudio() {
    if (std::exchange(knowsAudio_, true))
        return;
    for (auto it = audio_.cbegin(); it != audio_.cend(); ++it)
        callSetAudio(it.key(), it.value());
}

void TranscriptBridge::callSetAudio(const QString& messageId, AudioState state) {
    call("setAudio", {jsonString(messageId), jsonString(nameOf(state))});
}

void TranscriptBridge::scrollToBottom() {
    if (isReady())
        call("scrollToBottom");
}

void TranscriptBridge::dropped(const QList<QUrl>& files) {
    actions_.attach(files);
    actions_.takeFocusToComposer();
}

void TranscriptBridge::call(const char* function, const QList<QByteArray>& arguments) {
    page_->call(function, arguments);
}

void TranscriptBridge::receive(const QJsonObject& message) {
    if (const std::optional<PageRequest> request = parsePageRequest(message))
        std::visit([this](const auto& each) { perform(each); }, *request);
}

void TranscriptBridge::perform(const ReadyRequest&) {
    forgetPage();
    ready_ = true;
    pushTheme();
    actions_.showCurrentChat();
}

void TranscriptBridge::perform(const SendRequest& request) {
    actions_.send(request.text);
}

void TranscriptBridge::perform(const RetryRequest&) {
    actions_.retry();
}

void TranscriptBridge::perform(const CopyRequest& request) {
    actions_.copyText(request.text);
}

void TranscriptBridge::perform(const SpeakRequest& request) {
    actions_.speak(request.messageId, request.text);
}

void TranscriptBridge::perform(const SaveMediaRequest& request) {
    actions_.saveMedia(request.messageId);
}

void TranscriptBridge::perform(const OpenSheetRequest& request) {
    actions_.openSheet(request.sheet);
}

void TranscriptBridge::perform(const OpenLinkRequest& request) {
    actions_.openLink(request.url);
}

void TranscriptBridge::perform(const SignInRequest&) {
    actions_.signIn();
}

void TranscriptBridge::perform(const FetchRequest& request) {
    fetches_.launch([&](std::stop_token stop) { return fetch(request, pageLoad_, std::move(stop)); });
}

QCoro::Task<void> TranscriptBridge::fetch(FetchRequest request, quint64 load, std::stop_token stop) {
    auto asking = actions_.passthrough(request.path, request.method, request.body, std::move(stop));
    const FetchReply reply = co_await asking;
    if (load == pageLoad_ && isReady())
        call("fetchResult", {QByteArray::number(request.id), QByteArray::number(reply.status),
                             jsonString(reply.body), jsonString(reply.contentType)});
}

} // namespace teskal
