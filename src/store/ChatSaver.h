#pragma once

#include "AccountReading.h"
#include "ChatFileWriter.h"
#include "SerialWorker.h"

#include <QHash>
#include <QSet>
#include <QString>

#include <functional>
#include <memory>
#include <stop_token>
#include <vector>

namespace teskal {

/// Reads and writes the chat file of one account, away from the main thread, and knows which chats changed
/// since. A write encodes only those. Main thread only.
class ChatSaver {
public:
    enum class Outcome {
        Written,
        Failed,     ///< logged; the old file is whole
        StartAgain, ///< the file was changed from outside: the next write takes everything from memory
    };

    /// \a folder holds the accounts' files.
    ChatSaver(const QString& folder, const QString& owner);

    /// Ends a reading under way soon; a write comes to its end.
    ~ChatSaver();

    /// Takes chats of the file that were read, and those given before that are to go again: they stand in a
    /// file that does not decode, and nobody has changed them since.
    using Take = std::function<void(AccountChats, const QSet<QString>& withdrawn)>;
    /// Has the file read after begin(). \a take gets its chats from the event loop, the newest first and,
    /// when isLoading() is over, all others; none when it does not decode. Such a file is kept aside before
    /// the first write replaces it. Without a file nothing is read.
    void load(Take take);
    /// Begins to read what load() asked for; further calls do nothing.
    void begin();
    /// Somebody waits for all chats: they are read as fast as possible.
    void hurry();
    /// Whether the file is to be read, or is being read.
    bool isLoading() const { return isLoading_; }

    /// The chat differs from the file now, or is gone from the list.
    void noteChanged(const QString& id);

    bool isWriting() const { return !worker_.isIdle() && !isLoading_; }
    /// Begins to write \a chats in their order; \a nowMs names the copy of a damaged file. \a done is called
    /// from the event loop. One write at a time, and none while the file is being read.
    void write(const std::vector<const Chat*>& chats, double nowMs, std::function<void(Outcome)> done);
    /// Waits for the reading, begun or not, or the write under way; its `done` is called inside this call.
    /// What this begins is waited for too.
    void finish();

private:
    struct Result;

    void takeNewest(AccountChats account, const Take& take);
    void takeRest(AccountChats account, const AccountReading& reading, const Take& take);
    Outcome apply(const QStringList& ids, const Result& result);

    QString path_;
    QHash<QString, ChatRange> ranges_;         ///< chats that stand in the file as they are
    QSet<QString> changedMeanwhile_;           ///< since the write under way began
    QSet<QString> unconfirmed_;                ///< given while the file is read, and unchanged since
    std::shared_ptr<const FileSnapshot> file_; ///< what the ranges are of; with the write while one runs
    bool damaged_ = false;
    bool isLoading_ = false;
    std::function<void()> begin_; ///< none once it was called
    std::stop_source stop_;
    std::stop_source hurry_;
    SerialWorker worker_; ///< last, so that nothing is written when the rest is gone
};

} // namespace teskal
