#include "JobPoller.h"

#include "Cancelled.h"
#include "Clock.h"
#include "Delay.h"
#include "JsonError.h"

namespace teskal {

namespace {

constexpr std::chrono::seconds pause{4};
constexpr double longestSong = 900'000;    ///< ms
constexpr double longestVideo = 1'500'000; ///< ms

std::optional<QString> handleOf(const Media& media) {
    const std::optional<QString> token = media.jobToken();
    return token ? token : media.requestId;
}

bool isTooOld(const Media& media, double nowMs) {
    const double age = nowMs - media.startedAt.value_or(nowMs);
    return age > (media.isSong() ? longestSong : longestVideo);
}

/// Why nobody asks about the job any more; empty while it can be asked about.
QString verdictOn(const Media& media, double nowMs) {
    if (!handleOf(media))
        return JobPoller::tr("This can’t be checked any more. Ask again to make a new one.");
    if (!isTooOld(media, nowMs))
        return {};
    return media.isSong() ? JobPoller::tr("The song took too long. Ask again to try once more.")
                          : JobPoller::tr("The video took too long. Ask again to try once more.");
}

JobStatus unknownJob() {
    JobStatus job;
    job.status = QStringLiteral("error");
    job.message = JobPoller::tr("This can’t be found any more. Ask again to make a new one.");
    return job;
}

void takeResult(Media& media, const JobStatus& job) {
    media.status = QStringLiteral("done");
    media.fileId = job.fileId;
    media.mediaType = job.mediaType;
    media.url = job.url;
    if (job.lyrics && !job.lyrics->isEmpty())
        media.lyrics = job.lyrics;
}

void takeFailure(Media& media, const std::optional<QString>& text) {
    media.status = QStringLiteral("error");
    media.message = text;
}

} // namespace

JobPoller::JobPoller(ChatStore& store, Clock& clock, ApiFactory api, HistoryCheck historyIsKnown,
                     QObject* parent)
    : QObject(parent), store_(store), clock_(clock), api_(std::move(api)),
      historyIsKnown_(std::move(historyIsKnown)) {
    connect(&store, &ChatStore::privateChatEnded, this, &JobPoller::dropWhatIsGone);
    connect(&store, &ChatStore::chatRemoved, this, &JobPoller::dropWhatIsGone);
    connect(&store, &ChatStore::chatChanged, this, &JobPoller::dropWhatIsGone);
    connect(&store, &ChatStore::listReset, this, &JobPoller::dropWhatIsGone);
}

JobPoller::~JobPoller() = default;

void JobPoller::poll(const QString& chatId, const QString& messageId) {
    if (isPolling(messageId))
        return;
    const Poll poll{++lastNumber_, store_.claimGeneration(), chatId, messageId};
    // The entry is there before the task runs: the task may end inside launch().
    polls_.insert(messageId, {poll.number, chatId, Job()});
    const Job job =
        scope_.launch([this, poll](std::stop_token stop) { return follow(poll, std::move(stop)); });
    if (hasEntry(poll))
        polls_[messageId].job = job;
}

void JobPoller::resume() {
    QList<std::pair<QString, QString>> jobs; // a poll may change the list of chats at once
    for (int row = 0; row < store_.count(); ++row) {
        const Chat& chat = store_.at(row);
        for (const ChatMessage& message : chat.messages)
            if (message.media && message.media->isPendingJob())
                jobs.append({chat.id, message.id});
    }
    for (const auto& [chatId, messageId] : jobs)
        poll(chatId, messageId);
}

void JobPoller::cancel(const QString& messageId) {
    polls_.take(messageId).job.cancel();
}

void JobPoller::cancelAll() {
    const QHash<QString, Entry> cancelled = std::exchange(polls_, {});
    for (const Entry& entry : cancelled)
        entry.job.cancel();
}

void JobPoller::dropWhatIsGone() {
    polls_.removeIf([this](const auto& entry) {
        const bool isGone = !store_.message(entry->chatId, entry.key());
        if (isGone)
            entry->job.cancel();
        return isGone;
    });
}

QCoro::Task<void> JobPoller::follow(Poll poll, std::stop_token stop) {
    try {
        auto asking = askUntilItEnds(poll, stop);
        co_await asking;
    } catch (const Cancelled&) {
        // nobody wants to know any more
    }
    if (hasEntry(poll))
        polls_.remove(poll.messageId);
}

QCoro::Task<void> JobPoller::askUntilItEnds(Poll poll, std::stop_token stop) {
    bool hasEnded = false;
    bool isAnswered = true; // the last question, if there was one
    while (!hasEnded) {
        const Media* job = pendingJob(poll);
        if (!job)
            co_return;
        // Where nobody answers, as in the first seconds after a long sleep, the job may have ended long ago.
        const QString verdict = isAnswered ? verdictOn(*job, clock_.nowMs()) : QString();
        if (!verdict.isEmpty()) {
            if (store_.isPrivate(poll.chatId) || historyIsKnown_())
                fail(poll, verdict);
            co_return;
        }
        auto waiting = delay(clock_, pause, stop);
        co_await waiting;
        job = pendingJob(poll);
        if (!job)
            co_return;
        auto asking = ask(job->type, handleOf(*job).value_or(QString()), stop);
        const std::optional<JobStatus> status = co_await asking;
        isAnswered = status.has_value();
        hasEnded = settle(poll, status.value_or(JobStatus()));
    }
}

/// What the service refuses to tell counts as a job under way, except when it does not know the job. None
/// when nothing was heard of it.
QCoro::Task<std::optional<JobStatus>> JobPoller::ask(QString kind, QString token, std::stop_token stop) {
    try {
        const TeskalAPI api = api_();
        auto asking = api.jobStatus(kind, token, stop);
        const JobStatus status = co_await asking;
        co_return std::optional(status);
    } catch (const APIError& error) {
        co_return std::optional(error.status() == 404 ? unknownJob() : JobStatus());
    } catch (const Cancelled&) {
        if (stop.stop_requested())
            throw;
        co_return std::nullopt; // the source of the access token ended its work, not this one
    } catch (const JsonError&) {
        co_return std::optional(JobStatus());
    } catch (const std::exception&) {
        co_return std::nullopt;
    }
}

bool JobPoller::hasEntry(const Poll& poll) const {
    const auto entry = polls_.constFind(poll.messageId);
    return entry != polls_.constEnd() && entry->number == poll.number;
}

bool JobPoller::isCurrent(const Poll& poll) const {
    return store_.claimGeneration() == poll.claim && hasEntry(poll);
}

const Media* JobPoller::pendingJob(const Poll& poll) const {
    const ChatMessage* message = isCurrent(poll) ? store_.message(poll.chatId, poll.messageId) : nullptr;
    return message && message->media && message->media->isPendingJob() ? &*message->media : nullptr;
}

bool JobPoller::settle(const Poll& poll, const JobStatus& status) {
    if (!status.isDone() && !status.isFailed())
        return false;
    if (!pendingJob(poll))
        return true;
    store_.updateMessage(poll.chatId, poll.messageId, ChatStore::Touch::Yes, ChatStore::Save::Yes,
                         [&status](ChatMessage& message) {
                             if (status.isDone())
                                 takeResult(*message.media, status);
                             else
                                 takeFailure(*message.media, status.message);
                         });
    Q_EMIT ended(poll.chatId, poll.messageId);
    return true;
}

void JobPoller::fail(const Poll& poll, const QString& text) {
    JobStatus failed;
    failed.status = QStringLiteral("error");
    failed.message = text;
    settle(poll, failed);
}

} // namespace teskal
