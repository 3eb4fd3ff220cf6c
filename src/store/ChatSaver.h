#pragma once

#include "ChatFileReader.h"
#include "ChatFileWriter.h"
#include "SerialWorker.h"

#include <QHash>
#include <QSet>
#include <QString>

#include <functional>
#include <vector>

namespace teskal {

/// Reads and writes the chat file of one account and knows which chats changed since. A write encodes only
/// those, away from the main thread. Main thread only.
class ChatSaver {
public:
    enum class Outcome {
        Written,
        Failed,     ///< logged; the old file is whole
        StartAgain, ///< the file was changed from outside: the next write takes everything from memory
    };

    /// \a folder holds the accounts' files.
    ChatSaver(const QString& folder, const QString& owner);

    /// The chats of the file, in its order, none when there is no file or it does not decode; such a file is
    /// kept aside before the first write replaces it.
    std::vector<Chat> load();

    /// The chat differs from the file now, or is gone from the list.
    void noteChanged(const QString& id);

    bool isWriting() const { return !worker_.isIdle(); }
    /// Begins to write \a chats in their order; \a nowMs names the copy of a damaged file. \a done is called
    /// from the event loop. One write at a time.
    void write(const std::vector<const Chat*>& chats, double nowMs, std::function<void(Outcome)> done);
    /// Waits for the write under way; its `done` is called inside this call. A write that this begins is
    /// waited for too.
    void finish() { worker_.finish(); }

private:
    struct Result;

    Outcome apply(const QStringList& ids, const Result& result);

    QString path_;
    QHash<QString, ChatRange> ranges_;         ///< chats that stand in the file as they are
    QSet<QString> changedMeanwhile_;           ///< since the write under way began
    std::shared_ptr<const FileSnapshot> file_; ///< what the ranges are of; with the write while one runs
    bool damaged_ = false;
    SerialWorker worker_; ///< last, so that nothing is written when the rest is gone
};

} // namespace teskal
