#include "ChatSaver.h"

#include "AccountFileName.h"
#include "AtomicFile.h"
#include "Cancelled.h"
#include "ChatRepair.h"
#include "Log.h"

#include <QFileInfo>

#include <algorithm>
#include <optional>
#include <utility>

namespace teskal {

/// Everything that can be made of the file beside the main thread.
struct ChatSaver::Reading {
    AccountChats account;
    QHash<QString, ChatRange> ranges;
    std::shared_ptr<const FileSnapshot> file;
    bool damaged = false;

    /// Throws Cancelled.
    void run(const QString& path, const std::stop_token& stop) {
        LoadedChats loaded = readChatFile(path, stop);
        damaged = loaded.damaged;
        file = loaded.file;
        account.chats.reserve(loaded.chats.size());
        account.byId.reserve(qsizetype(loaded.chats.size()));
        ranges.reserve(qsizetype(loaded.chats.size()));
        for (std::size_t at = 0; at < loaded.chats.size(); ++at)
            if (!account.byId.contains(loaded.chats[at].id)) // of equal ones the first, newest is kept
                add(std::move(loaded.chats[at]), loaded.ranges[at]);
        std::stable_sort(account.chats.begin(), account.chats.end(),
                         [](const auto& a, const auto& b) { return a->updatedAt > b->updatedAt; });
    }

private:
    void add(Chat chat, const ChatRange& range) {
        const double updatedAt = chat.updatedAt;
        if (repairLoadedChat(chat)) {
            chat.updatedAt += 1; // so that the mended answer reaches the other devices
            account.mended = true;
        }
        if (chat.updatedAt == updatedAt)
            ranges.insert(chat.id, range);
        account.chats.push_back(std::make_unique<Chat>(std::move(chat)));
        account.byId.insert(account.chats.back()->id, account.chats.back().get());
    }
};

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

void ChatSaver::load(std::function<void(AccountChats)> done) {
    removeLeftovers(path_);
    if (!QFileInfo::exists(path_))
        return;
    isLoading_ = true;
    const auto reading = std::make_shared<Reading>();
    const auto work = [path = path_, reading, stop = stop_.get_token()] {
        try {
            reading->run(path, stop);
        } catch (const Cancelled&) {
            // Nobody waits any more.
        }
    };
    begin_ = [this, reading, work, done = std::move(done)] {
        worker_.run(work, [this, reading, done] {
            takeRead(*reading);
            done(std::move(reading->account));
        });
    };
}

void ChatSaver::begin() {
    if (const auto begin = std::exchange(begin_, nullptr))
        begin();
}

void ChatSaver::finish() {
    begin();
    worker_.finish();
}

void ChatSaver::takeRead(Reading& reading) {
    isLoading_ = false;
    damaged_ = reading.damaged;
    file_ = std::move(reading.file);
    ranges_ = std::move(reading.ranges);
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
