#include "ChatSaver.h"

#include "AccountFileName.h"
#include "AtomicFile.h"
#include "Log.h"

#include <QFileInfo>

#include <optional>

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

std::vector<Chat> ChatSaver::load() {
    removeLeftovers(path_);
    LoadedChats loaded = readChatFile(path_);
    damaged_ = loaded.damaged;
    file_ = loaded.file;
    ranges_.reserve(qsizetype(loaded.chats.size()));
    for (std::size_t at = 0; at < loaded.chats.size(); ++at)
        if (!ranges_.contains(loaded.chats[at].id)) // of equal ones the first is kept
            ranges_.insert(loaded.chats[at].id, loaded.ranges[at]);
    return std::move(loaded.chats);
}

void ChatSaver::noteChanged(const QString& id) {
    ranges_.remove(id);
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
