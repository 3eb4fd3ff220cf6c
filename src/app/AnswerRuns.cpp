#include "AnswerRuns.h"

#include "Cancelled.h"
#include "ChatRepair.h"
#include "Clock.h"
#include "DataUrl.h"
#include "FailureText.h"
#include "FirstTitle.h"

namespace teskal {

namespace {

Media imageMedia(const ImageResult& image) {
    Media media;
    media.type = QStringLiteral("image");
    media.status = QStringLiteral("done");
    media.url = image.dataUrl;
    if (const QString mediaType = dataUrlType(image.dataUrl); !mediaType.isEmpty())
        media.mediaType = mediaType;
    media.fileId = image.fileId;
    media.prompt = image.prompt;
    return media;
}

/// Media of a started job; its request identifier is its handle.
Media startedJob(const QString& type, const std::optional<QString>& requestId,
                 const std::optional<QString>& model, const std::optional<QString>& prompt, double nowMs) {
    Media media;
    media.type = type;
    media.status = QStringLiteral("pending");
    media.requestId = requestId;
    media.job = requestId;
    media.model = model;
    media.prompt = prompt;
    media.startedAt = nowMs;
    return media;
}

struct ApplyResult {
    ChatMessage& message;
    double nowMs;

    void operator()(const TextResult& text) const { message.content = text.text; }
    void operator()(const ImageResult& image) const { message.media = imageMedia(image); }
    void operator()(const VideoResult& video) const {
        message.media =
            startedJob(QStringLiteral("video"), video.requestId, video.model, video.prompt, nowMs);
    }
    void operator()(const MusicResult& music) const {
        message.media =
            startedJob(QStringLiteral("music"), music.requestId, music.model, music.prompt, nowMs);
        message.media->lyrics = music.lyrics;
    }
};

} // namespace

AnswerRuns::AnswerRuns(ChatStore& store, ApiFactory api, QObject* parent)
    : QObject(parent), store_(store), api_(std::move(api)) {}

AnswerRuns::~AnswerRuns() {
    // Answers under way stay pending in the store; the next launch says that they were stopped.
    closing_ = true;
}

void AnswerRuns::start(const QString& chatId, const QList<ChatMessage>& history, const QString& assistantId) {
    const Chat* chat = store_.chat(chatId);
    if (!chat || isRunning(chatId))
        return;
    Run run;
    run.number = ++lastNumber_;
    run.claim = store_.claimGeneration();
    run.chatId = chatId;
    run.messageId = assistantId;
    run.isPrivate = store_.isPrivate(chatId);
    run.isFirst = history.size() == 1;
    // A private chat has a name that nobody gave it.
    if (run.isFirst)
        run.givenTitle =
            run.isPrivate ? chat->title : firstTitle(history.first().content, history.first().attachments);
    // The entry is there before the task runs: the task may end inside launch().
    runs_.insert(chatId, {run.number, Job()});
    Q_EMIT started(chatId);
    const Job job = scope_.launch(
        [this, run, history](std::stop_token stop) { return follow(run, history, std::move(stop)); });
    if (const auto entry = runs_.find(chatId); entry != runs_.end() && entry->number == run.number)
        entry->job = job;
}

void AnswerRuns::stop(const QString& chatId) {
    runs_.value(chatId, {0, Job()}).job.cancel();
}

void AnswerRuns::abandon(const QString& chatId) {
    if (!isRunning(chatId))
        return;
    runs_.take(chatId).job.cancel();
    Q_EMIT ended(chatId);
}

void AnswerRuns::abandonAll() {
    for (const QString& chatId : running())
        abandon(chatId);
}

QCoro::Task<void> AnswerRuns::follow(Run run, QList<ChatMessage> history, std::stop_token stop) {
    bool hasText = false;
    ChatCallbacks callbacks([this, run](const JSONValue& route) { applyRoute(run, route); },
                            [this, run, &hasText](const QString& text) {
                                hasText = !text.isEmpty();
                                change(run, [&text](ChatMessage& message) { message.content = text; });
                            },
                            [this, run](const JSONValue& activity) {
                                change(run,
                                       [&activity](ChatMessage& message) { message.activity = activity; });
                            });
    std::optional<MessageError> error;
    try {
        const TeskalAPI api = api_();
        auto call = api.chat(history, run.isPrivate, callbacks, stop);
        const ChatResult result = co_await call;
        applyResult(run, result);
    } catch (const Cancelled&) {
        if (!hasText)
            error = stoppedError();
    } catch (const std::exception&) {
        // What breaks while it is being stopped is stopped, too.
        if (!stop.stop_requested())
            error = messageError(std::current_exception());
        else if (!hasText)
            error = stoppedError();
    }
    finish(run, error);
}

bool AnswerRuns::isCurrent(const Run& run) const {
    return !closing_ && store_.claimGeneration() == run.claim &&
           runs_.value(run.chatId, {0, Job()}).number == run.number;
}

void AnswerRuns::change(const Run& run, const std::function<void(ChatMessage&)>& apply) {
    if (isCurrent(run))
        store_.updateMessage(run.chatId, run.messageId, ChatStore::Touch::No, ChatStore::Save::No, apply);
}

void AnswerRuns::applyRoute(const Run& run, const JSONValue& route) {
    change(run, [&route](ChatMessage& message) { message.route = route; });
    const QString title = route.member(QStringLiteral("title")).text().value_or(QString());
    const Chat* chat = store_.chat(run.chatId);
    if (!isCurrent(run) || !run.isFirst || title.isEmpty() || !chat || chat->title != run.givenTitle)
        return;
    store_.update(run.chatId, ChatStore::Touch::No, ChatStore::Save::No,
                  [&title](Chat& changed) { changed.title = title; });
}

void AnswerRuns::applyResult(const Run& run, const ChatResult& result) {
    change(run, [&](ChatMessage& message) {
        std::visit(ApplyResult{message, store_.nowMs()}, result);
        message.pending = false;
    });
}

void AnswerRuns::finish(const Run& run, const std::optional<MessageError>& error) {
    if (!isCurrent(run))
        return;
    store_.updateMessage(run.chatId, run.messageId, ChatStore::Touch::Yes, ChatStore::Save::Yes,
                         [&error](ChatMessage& message) {
                             message.pending = false;
                             message.error = error;
                         });
    runs_.remove(run.chatId);
    Q_EMIT ended(run.chatId);
    const ChatMessage* message = store_.message(run.chatId, run.messageId);
    if (message && message->media && message->media->isPending())
        Q_EMIT jobStarted(run.chatId, run.messageId);
    Q_EMIT answered(run.chatId);
}

} // namespace teskal
