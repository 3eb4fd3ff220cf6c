#include "AppModel.h"

#include "Clock.h"
#include "ConversationHistory.h"
#include "FirstTitle.h"
#include "IDs.h"
#include "OutsideLink.h"

#include <QImage>
#include <QUrl>

namespace teskal {

namespace {

constexpr std::chrono::milliseconds toastTime{3500};

ChatMessage userMessage(const QString& text, const QList<Attachment>& files) {
    ChatMessage message;
    message.id = IDs::make();
    message.role = Role::User;
    message.content = text;
    message.attachments = files;
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

void AppModel::signIn() {
    auth_.signIn();
}

void AppModel::signOut() {
    cancelRuns();
    flush();
    auth_.signOut();
    select(std::nullopt);
    drafts_.clear();
    leaveSheets();
    prompts_.clear();
    syncAccount();
}

void AppModel::select(const std::optional<QString>& chatId) {
    awaited_.reset();
    if (selection_ == chatId)
        return;
    selection_ = chatId;
    leavePrivate();
    showCurrentChat();
    Q_EMIT selectionChanged();
    Q_EMIT busyChanged();
    tellOtherDraft();
}

void AppModel::leavePrivate() {
    const Chat* chat = store_.privateChat();
    if (!chat || selection_ == chat->id)
        return;
    const QList<ChatMessage> messages = chat->messages;
    runs_.abandon(QString(chat->id));
    for (const ChatMessage& message : messages)
        jobs_.cancel(message.id);
    store_.setPrivateChat(std::nullopt);
}

void AppModel::newChat() {
    select(std::nullopt);
    Q_EMIT focusComposer();
}

void AppModel::newPrivateChat() {
    if (!auth_.isSignedIn())
        return;
    if (isPrivateShown())
        select(std::nullopt);
    Chat chat;
    chat.id = IDs::make();
    chat.title = QStringLiteral("Private chat");
    chat.createdAt = chat.updatedAt = store_.nowMs();
    const QString id = chat.id;
    store_.setPrivateChat(std::move(chat));
    select(id);
    Q_EMIT focusComposer();
}

void AppModel::openFromOutside(const std::optional<QString>& chatId) {
    if (isPrivateShown())
        return;
    if (!chatId) {
        newChat();
        return;
    }
    if (store_.chat(*chatId))
        return select(chatId);
    if (!store_.isLoading())
        return;
    awaited_ = chatId;
    store_.hurryLoading();
}

void AppModel::openAwaited() {
    if (awaited_ && store_.chat(*awaited_))
        select(std::exchange(awaited_, std::nullopt));
}

void AppModel::deleteChat(const QString& chatId) {
    // It may be the chat's own, which goes with it.
    const QString id = chatId; // NOLINT(performance-unnecessary-copy-initialization)
    if (selection_ == id)
        select(std::nullopt);
    store_.remove(id); // its answer stops with it
}

void AppModel::deleteAllChats() {
    select(std::nullopt);
    cancelRuns();
    store_.removeAll();
    dropWhatIsGone();
}

void AppModel::renameChat(const QString& chatId, const QString& title) {
    const QString name = title.trimmed();
    const Chat* chat = store_.chat(chatId);
    if (chat && !name.isEmpty() && name != chat->title)
        store_.rename(chatId, name);
}

void AppModel::submitFolderName(const QString& name, const FolderPrompt& prompt) {
    if (prompt.renamed)
        return folders_.rename(prompt.renamed->id, name);
    const std::optional<QString> folder = folders_.create(name);
    if (folder && prompt.chatId && store_.rowOf(*prompt.chatId) >= 0)
        folders_.assign({*prompt.chatId}, folder);
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

QString AppModel::slot() const {
    const Chat* chat = selectedChat();
    return chat ? chat->id : QString();
}

void AppModel::setDraft(const QString& text) {
    drafts_.setText(slot(), text);
}

void AppModel::addWords(const QString& slot, const QString& words) {
    if (!hasSlot(slot))
        return;
    drafts_.addWords(slot, words);
    if (slot == this->slot())
        Q_EMIT focusComposer();
}

void AppModel::attachTo(const QString& slot, const QList<QUrl>& files) {
    if (store_.owner() && hasSlot(slot))
        draftAttachments_.attach(slot, files);
}

void AppModel::attachImage(const QImage& image, const QString& name) {
    if (store_.owner())
        draftAttachments_.attach(slot(), image, name);
}

void AppModel::removeDraftFile(quint64 number) {
    drafts_.removeFile(number);
}

bool AppModel::canSend() const {
    const bool isEmpty = QStringView(draft()).trimmed().isEmpty() && draftFiles().isEmpty();
    return auth_.isSignedIn() && !isEmpty && !isBusy() && !drafts_.isPreparing(slot());
}

void AppModel::sendDraft() {
    if (!canSend())
        return; // the words stay where they are
    const Drafts::Draft taken = drafts_.take(slot());
    QList<Attachment> files;
    for (const DraftFile& file : taken.files)
        files.append(file.attachment);
    send(taken.text, files);
}

void AppModel::send(const QString& text, const QList<Attachment>& files) {
    const QString trimmed = text.trimmed();
    if (!auth_.isSignedIn() || (trimmed.isEmpty() && files.isEmpty()))
        return;
    const Chat* selected = selectedChat();
    if (selected && isAnswering(selected->id))
        return;
    const QString chatId = selected ? selected->id : store_.create(firstTitle(trimmed, files));
    if (!selected)
        moveDraft(chatId);
    const QList<ChatMessage> earlier = store_.chat(chatId)->messages;

    const ChatMessage question = userMessage(trimmed, files);
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

void AppModel::moveDraft(const QString& chatId) {
    drafts_.move(QString(), chatId);
    Q_EMIT draftMoved(QString(), chatId);
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
    if (sheet_ == Sheet::Keys)
        keys_.leave();
    sheet_ = sheet;
    Q_EMIT sheetChanged();
}

void AppModel::leaveSheets() {
    setSheet(std::nullopt);
    balance_.clear();
    keys_.clear();
    pool_.clear();
}

void AppModel::refreshBalance(bool fresh) {
    if (auth_.isSignedIn())
        balance_.refresh(fresh);
}

void AppModel::buyCredits(int credits) {
    if (auth_.isSignedIn())
        balance_.buy(credits);
}

void AppModel::loadKeys() {
    if (auth_.isSignedIn())
        keys_.load();
}

void AppModel::createKey(const QString& name) {
    if (auth_.isSignedIn())
        keys_.create(name);
}

void AppModel::revokeKey(const QString& id) {
    if (auth_.isSignedIn())
        keys_.revoke(id);
}

void AppModel::loadPool() {
    if (auth_.isSignedIn())
        pool_.load();
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
