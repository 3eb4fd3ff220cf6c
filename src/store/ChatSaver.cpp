#include "ChatSaver.h"

#include "AccountFileName.h"
#include "AtomicFile.h"
#include "Log.h"

#include <QFileInfo>

#include <optional>
#include <utility>

namespace teskal {

struct ChatSaver::Result {
    WrittenChats written;
    QString keptAs; ///< name of the damaged file's copy, if one was made
    std::optional<QString> failure;
    bool startAgain = false;
    std::shared_ptr<const FileSnapshot> previous; ///< still what the ranges are of, after a failure
};

ChatSaver::ChatSaver(const QString& folder, const QString& owner)
    : path_(folder + QLatin1Char('/') + accountFileName(owner) + QStringLiteral(".json")) {}

ChatSaver::~ChatSaver() {
    stop_.request_stop();
}

void ChatSaver::load(Take take) {
    removeLeftovers(path_);
    if (!QFileInfo::exists(path_))
        return;
    isLoading_ = true;
    const auto reading = std::make_shared<AccountReading>(path_, stop_.get_token(), hurry_.get_token());
    begin_ = [this, reading, take = std::move(take)] {
        const auto newest = std::make_shared<AccountChats>();
        worker_.run([reading, newest] { *newest = reading->readNewest(); },
                    [this, newest, take] { takeNewest(std::move(*newest), take); });
        const auto rest = std::make_shared<AccountChats>();
        worker_.run([reading, rest] { *rest = reading->readRest(); },
                    [this, reading, rest, take] { takeRest(std::move(*rest), *reading, take); });
    };
}

void ChatSaver::begin() {
    if (const auto begin = std::exchange(begin_, nullptr))
        begin();
}

void ChatSaver::hurry() {
    hurry_.request_stop();
    begin();
}

void ChatSaver::finish() {
    hurry();
    worker_.finish();
}

void ChatSaver::takeNewest(AccountChats account, const Take& take) {
    if (account.chats.empty())
        return;
    ranges_ = std::move(account.ranges);
    for (const auto& chat : account.chats)
        unconfirmed_.insert(chat->id);
    take(std::move(account), {});
}

void ChatSaver::takeRest(AccountChats account, const AccountReading& reading, const Take& take) {
    isLoading_ = false;
    file_ = reading.file();
    damaged_ = reading.isDamaged();
    const QSet<QString> unconfirmed = std::exchange(unconfirmed_, {});
    if (damaged_)
        ranges_.clear();
    else
        ranges_.insert(account.ranges);
    take(std::move(account), damaged_ ? unconfirmed : QSet<QString>());
}

void ChatSaver::noteChanged(const QString& id) {
    ranges_.remove(id);
    unconfirmed_.remove(id);
    if (isWriting())
        changedMeanwhile_.insert(id);
}

void ChatSaver::write(const std::vector<const Chat*>& chats, double nowMs,
                      std::function<void(Outcome)> done) {
    const auto job = std::make_shared<ChatFileJob>();
    job->path = path_;
    // Handed over: with the last hold on a replaced file goes the file, which takes a while when it is large.
    job->previous = std::move(file_);
    job->pieces.reserve(chats.size());
    QStringList ids;
    ids.reserve(qsizetype(chats.size()));
    for (const Chat* chat : chats) {
        ids.append(chat->id);
        const auto range = ranges_.constFind(chat->id);
        if (range == ranges_.constEnd())
            job->pieces.emplace_back(*chat); // shares its texts with the chat in memory
        else
            job->pieces.emplace_back(*range);
    }
    changedMeanwhile_.clear();
    const auto result = std::make_shared<Result>();
    const auto work = [job, result, keepOld = damaged_, nowMs] {
        try {
            if (keepOld && QFileInfo::exists(job->path))
                result->keptAs = keepDamagedFile(job->path, nowMs);
            result->written = writeChatFile(*job);
        } catch (const PreviousFileChanged&) {
            result->startAgain = true;
        } catch (const FileError& error) {
            result->failure = error.text();
            result->previous = job->previous;
        }
    };
    worker_.run(work, [this, ids, result, done = std::move(done)] { done(apply(ids, *result)); });
}

ChatSaver::Outcome ChatSaver::apply(const QStringList& ids, const Result& result) {
    if (!result.keptAs.isEmpty())
        logDamagedFile(result.keptAs);
    damaged_ = damaged_ && result.keptAs.isEmpty();
    if (result.startAgain) {
        ranges_.clear();
        return Outcome::StartAgain;
    }
    if (result.failure) {
        file_ = result.previous;
        logLine(QStringLiteral("could not save chats: ") + *result.failure);
        return Outcome::Failed;
    }
    damaged_ = false;
    file_ = result.written.file;
    ranges_.clear();
    for (qsizetype at = 0; file_ && at < ids.size(); ++at)
        if (!changedMeanwhile_.contains(ids[at]))
            ranges_.insert(ids[at], result.written.ranges[std::size_t(at)]);
    changedMeanwhile_.clear();
    return Outcome::Written;
}

} // namespace teskal
