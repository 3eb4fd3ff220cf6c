#pragma once

#include "ChatFileReader.h"
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

/// The chats of an account as they come from its file: mended, newest first, each identifier once.
struct AccountChats {
    std::vector<std::unique_ptr<Chat>> chats;
    QHash<QString, Chat*> byId;
    bool mended = false; ///< an answer was: the file is to be written
};

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

    /// Has the file read after begin(). \a done gets its chats from the event loop, none when it does not
    /// decode; such a file is kept aside before the first write replaces it. Without a file nothing is read.
    void load(std::function<void(AccountChats)> done);
    /// Begins to read what load() asked for; further calls do nothing.
    void begin();
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
    struct Reading;
    struct Result;

    void takeRead(Reading& reading);
    Outcome apply(const QStringList& ids, const Result& result);

    QString path_;
    QHash<QString, ChatRange> ranges_;         ///< chats that stand in the file as they are
    QSet<QString> changedMeanwhile_;           ///< since the write under way began
    std::shared_ptr<const FileSnapshot> file_; ///< what the ranges are of; with the write while one runs
    bool damaged_ = false;
    bool isLoading_ = false;
    std::function<void()> begin_; ///< none once it was called
    std::stop_source stop_;
    SerialWorker worker_; ///< last, so that nothing is written when the rest is gone
};

} // namespace teskal
