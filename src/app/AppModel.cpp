#include "AppModel.h"

#include "Clock.h"
#include "ConversationHistory.h"
#include "IDs.h"
#include "OutsideLink.h"

#include <QUrl>

namespace teskal {

namespace {

constexpr std::chrono::milliseconds toastTime{3500};
/// From the last change of a chat to its way to the service.
constexpr std::chrono::milliseconds editDelay{1500};

ChatMessage userMessage(const QString& text) {
    ChatMessage message;
    message.id = IDs::make();
    message.role = Role::User;
    message.content = text;
    return message;
}

ChatMessage assistantPlaceholder() {
    ChatMessage message;
    message.id = IDs::make();
    message.role = Role::Assistant;
    message.pending = true;
    return message;
}

FetchReply pageReply(const PassthroughReply& reply) {
    FetchReply page;
    page.status = reply.status;
    page.contentType = reply.contentType;
    page.body = reply.body;
    return page;
}

QCoro::Task<FetchReply> pageReplyOf(TeskalAPI api, QString path, QString method, std::optional<QString> body,
                                    std::stop_token stop) {
    auto asking = api.passthrough(std::move(path), std::move(method), std::move(body), stop);
    const PassthroughReply reply = co_await asking;
    co_return pageReply(reply);
}

} // namespace

AppModel::AppModel(const AppServices& services, QObject* parent)
    : QObject(parent), services_(services),
      auth_(services.config, services.http, services.keychain, services.authSession, services.clock),
      store_(services.dataFolder, services.clock), folders_(services.dataFolder, services.clock),
      files_(services.cacheFolder), transcript_(*this), sync_(services.dataFolder, store_, services.clock),
      runs_(store_, [this] { return api(); }),
      transcriptFiles_(files_, store_, [this] { return selection_; }),
      readAloud_(services.audioPlayer, [this] { return api(); }), mediaSaver_(files_, services.savePanel),
      balance_([this] { return api(); }) {
    connect(&auth_, &Auth::profileChanged, this, &AppModel::profileChanged);
    connect(&auth_, &Auth::isSignedInChanged, this, [this] {
        if (!auth_.isSignedIn())
            return leaveSheets();
        folders_.resume();
        sync_.resume();
        syncNow();
        showCurrentChat();
    });
    tieStores();
    tieMedia(); // first: what is read of a message that is gone has ended when the page is told of it
    tieTranscript();
    connect(&balance_, &Balance::checkoutReady, this,
            [this](const QUrl& page) { openLink(QString::fromLatin1(page.toEncoded())); });
    syncAccount();
}

void AppModel::tieStores() {
    connect(&store_, &ChatStore::deletedByUser, this, &AppModel::chatsDeleted);
    connect(&store_, &ChatStore::edited, this, [this] { sync_.syncSoon(editDelay); });
    connect(&sync_, &ChatSync::uploaded, this,
            [this](const QString& fileId, const QString& mediaType, const QByteArray& bytes) {
                files_.store(bytes, mediaType, fileId);
            });
    connect(&sync_, &ChatSync::pulled, this, &AppModel::chatsPulled);
    connect(&store_, &ChatStore::privateChatEnded, this, [this] { files_.forgetPrivate(); });
    connect(&folders_, &FolderStore::notice, this, &AppModel::show);
}

void AppModel::tieTranscript() {
    connect(&store_, &ChatStore::messageChanged, this,
            [this](const QString& chatId, const QString& messageId) {
                if (selection_ != chatId)
                    return;
                if (const ChatMessage* message = store_.message(chatId, messageId))
                    transcript_.showMessage(chatId, *message);
            });
    connect(&store_, &ChatStore::chatChanged, this, &AppModel::selectedChatChanged);
    const auto runChanged = [this](const QString& chatId) {
        Q_EMIT answeringChanged(chatId);
        if (selection_ != chatId)
            return;
        transcript_.setBusy(isBusy());
        Q_EMIT busyChanged();
    };
    connect(&runs_, &AnswerRuns::started, this, runChanged);
    connect(&runs_, &AnswerRuns::ended, this, runChanged);
    connect(&runs_, &AnswerRuns::answered, this, &AppModel::answered);
}

void AppModel::tieMedia() {
    connect(&store_, &ChatStore::privateChatEnded, &readAloud_, &ReadAloud::stop);
    connect(&store_, &ChatStore::chatChanged, this, &AppModel::stopReadingWhatIsGone);
    connect(&store_, &ChatStore::chatRemoved, this,
            [this](int, const QString& chatId) { stopReadingWhatIsGone(chatId); });
    connect(&readAloud_, &ReadAloud::stateChanged, &transcript_, &TranscriptBridge::setAudio);
    connect(&readAloud_, &ReadAloud::failed, this, &AppModel::show);
    connect(&mediaSaver_, &MediaSaver::notice, this, &AppModel::show);
}

AppModel::~AppModel() = default;

TeskalAPI AppModel::api() {
    // A store's client gets tokens only while the signed-in account is the one that the store has claimed.
    const QString owner = store_.owner().value_or(QString());
    TokenProvider token = [auth = &auth_, owner](std::stop_token stop) {
        return auth->accessTokenFor(owner, std::move(stop));
    };
    return TeskalAPI(services_.config.baseURL, std::move(token), services_.http, services_.clock,
                     services_.version);
}

void AppModel::profileChanged() {
    if (!auth_.profile())
        return; // an expired session keeps its chats; leaving the account is signOut()
    if (store_.owner() != auth_.profile()->sub)
        syncAccount();
}

void AppModel::syncAccount() {
    const std::optional<QString> owner = auth_.profile() ? std::optional(auth_.profile()->sub) : std::nullopt;
    if (owner != store_.owner())
        claimStores(owner);
    if (owner)
        syncNow();
}

void AppModel::claimStores(const std::optional<QString>& owner) {
    cancelRuns();
    leaveSheets();
    store_.claim(owner);
    const std::optional<TeskalAPI> client = owner ? std::optional(api()) : std::nullopt;
    settings_.claim(owner, client);
    folders_.claim(owner, client);
    files_.claim(owner, client);
    sync_.claim(owner, client);
    if (selection_ && !store_.chat(*selection_))
        select(std::nullopt);
}

void AppModel::syncNow() {
    folders_.syncSoon(std::chrono::milliseconds(0));
    sync_.syncSoon(std::chrono::milliseconds(0));
}

void AppModel::chatsDeleted(const QList<RemovedChat>& chats) {
    QStringList ids;
    for (const RemovedChat& chat : chats)
        ids.append(chat.id);
    folders_.unfile(ids);
    sync_.recordDeletes(chats);
}

void AppModel::chatsPulled() {
    if (selection_ && !store_.chat(*selection_))
        select(std::nullopt);
}

void AppModel::flush() {
    store_.flush();
    folders_.flush();
    sync_.flush();
}

void AppModel::cancelRuns() {
    runs_.abandonAll();
    readAloud_.stop();
    mediaSaver_.abandon();
    store_.stopPending();
}

void AppModel::signIn() {
    auth_.signIn();
}

void AppModel::signOut() {
    cancelRuns();
    flush();
    auth_.signOut();
    select(std::nullopt);
    setDraft(QString());
    syncAccount();
}

void AppModel::select(const std::optional<QString>& chatId) {
    if (selection_ == chatId)
        return;
    selection_ = chatId;
    showCurrentChat();
    Q_EMIT selectionChanged();
    Q_EMIT busyChanged();
}

void AppModel::newChat() {
    select(std::nullopt);
    Q_EMIT focusComposer();
}

const Chat* AppModel::selectedChat() const {
    return selection_ ? store_.chat(*selection_) : nullptr;
}

void AppModel::selectedChatChanged(const QString& chatId) {
    if (selection_ != chatId)
        return;
    showCurrentChat();
    Q_EMIT busyChanged();
}

void AppModel::showCurrentChat() {
    transcript_.show(selectedChat(), isBusy());
}

void AppModel::setDraft(const QString& text) {
    if (draft_ == text)
        return;
    draft_ = text;
    Q_EMIT draftChanged();
}

void AppModel::sendDraft() {
    const QString text = draft_;
    if (isBusy() || text.trimmed().isEmpty())
        return;
    if (!auth_.isSignedIn())
        return; // the words stay where they are
    setDraft(QString());
    send(text);
}

void AppModel::send(const QString& text) {
    const QString trimmed = text.trimmed();
    if (!auth_.isSignedIn() || trimmed.isEmpty())
        return;
    const Chat* selected = selectedChat();
    if (selected && isAnswering(selected->id))
        return;
    const QString chatId = selected ? selected->id : store_.create(trimmed);
    const QList<ChatMessage> earlier = store_.chat(chatId)->messages;

    const ChatMessage question = userMessage(trimmed);
    const ChatMessage placeholder = assistantPlaceholder();
    QList<ChatMessage> kept = earlier;
    kept.append(question);
    store_.update(chatId, ChatStore::Touch::Yes, ChatStore::Save::Yes, [&](Chat& chat) {
        chat.messages.append(question);
        chat.messages.append(placeholder);
    });
    startAnswer(chatId, kept, placeholder.id);
    select(chatId);
    transcript_.scrollToBottom();
}

bool AppModel::canRetry() const {
    const Chat* chat = selectedChat();
    return chat && !isBusy() && !chat->messages.isEmpty() && chat->messages.last().role == Role::Assistant;
}

void AppModel::retry() {
    if (!canRetry() || !auth_.isSignedIn())
        return;
    const QString chatId = *selection_;
    QList<ChatMessage> kept = selectedChat()->messages;
    kept.removeLast();
    const ChatMessage placeholder = assistantPlaceholder();
    store_.update(chatId, ChatStore::Touch::Yes, ChatStore::Save::Yes, [&](Chat& chat) {
        chat.messages = kept;
        chat.messages.append(placeholder);
    });
    startAnswer(chatId, kept, placeholder.id);
}

void AppModel::startAnswer(const QString& chatId, const QList<ChatMessage>& kept,
                           const QString& assistantId) {
    runs_.start(chatId, conversationHistory(kept), assistantId);
}

void AppModel::stop() {
    if (selection_)
        runs_.stop(*selection_);
}

void AppModel::copyLastAnswer() {
    const Chat* chat = selectedChat();
    if (!chat)
        return;
    for (auto it = chat->messages.crbegin(); it != chat->messages.crend(); ++it) {
        if (it->role != Role::Assistant || it->content.isEmpty())
            continue;
        copyText(it->content);
        show(tr("Copied"));
        return;
    }
}

void AppModel::copyText(const QString& text) {
    services_.copyText(text);
}

void AppModel::openLink(const QString& link) {
    if (const std::optional<QString> outside = outsideLink(link))
        services_.openLink(*outside);
}

void AppModel::openSheet(const QString& name) {
    if (const std::optional<Sheet> sheet = sheetNamed(name))
        setSheet(sheet);
}

void AppModel::setSheet(std::optional<Sheet> sheet) {
    if (sheet_ == sheet)
        return;
    if (sheet_ == Sheet::Credits)
        balance_.leave();
    sheet_ = sheet;
    Q_EMIT sheetChanged();
}

void AppModel::leaveSheets() {
    setSheet(std::nullopt);
    balance_.clear();
}

void AppModel::refreshBalance(bool fresh) {
    if (auth_.isSignedIn())
        balance_.refresh(fresh);
}

void AppModel::buyCredits(int credits) {
    if (auth_.isSignedIn())
        balance_.buy(credits);
}

void AppModel::speak(const QString& messageId, const QString& text) {
    readChatId_ = selection_.value_or(QString());
    readAloud_.toggle(messageId, text);
}

void AppModel::saveMedia(const QString& messageId) {
    const ChatMessage* message = selection_ ? store_.message(*selection_, messageId) : nullptr;
    if (!message || !message->media)
        return;
    const auto keep = [this, chatId = *selection_, fileId = message->media->fileId.value_or(QString())] {
        return transcriptFiles_.keepRule(fileId, chatId);
    };
    mediaSaver_.save(*message->media, keep);
}

void AppModel::stopReadingWhatIsGone(const QString& chatId) {
    if (readChatId_ == chatId && !store_.message(chatId, readAloud_.messageId()))
        readAloud_.stop();
}

void AppModel::attach(const QList<QUrl>& files) {
    Q_EMIT filesDropped(files);
}

void AppModel::takeFocusToComposer() {
    Q_EMIT focusComposer();
}

QCoro::Task<FetchReply> AppModel::passthrough(QString path, QString method, QString body,
                                              std::stop_token stop) {
    return pageReplyOf(api(), std::move(path), std::move(method),
                       body.isEmpty() ? std::nullopt : std::optional(body), std::move(stop));
}

void AppModel::openHelp(const QString& path) {
    QUrl url = services_.config.baseURL;
    url.setPath(path);
    openLink(QString::fromLatin1(url.toEncoded()));
}

void AppModel::show(const QString& notice) {
    toast_ = notice;
    toastTimer_ = services_.clock.after(toastTime, [this] {
        toast_.clear();
        Q_EMIT toastChanged();
    });
    Q_EMIT toastChanged();
}

} // namespace teskal
