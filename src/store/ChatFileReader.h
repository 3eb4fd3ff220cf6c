#pragma once

#include "ArrayScanner.h"
#include "Chat.h"
#include "FileSnapshot.h"

#include <QString>

#include <memory>
#include <optional>
#include <stop_token>
#include <vector>

namespace teskal {

/// Where the text of one chat stands in a chat file, in bytes.
struct ChatRange {
    qint64 begin = 0;
    qint64 size = 0;

    qint64 end() const { return begin + size; }
};

/// Chats in the order of their file, and where the text of each stands in it.
struct LoadedChats {
    std::vector<Chat> chats;
    std::vector<ChatRange> ranges; ///< one for each chat
};

/// Reads a chat file, a JSON array of chats, from its beginning on. The text is given up as it is read, so
/// that little more than the chats is held. Used by one thread at a time, any.
class ChatFileReader {
public:
    /// Reading ends with Cancelled soon after \a stop is set.
    explicit ChatFileReader(std::shared_ptr<const FileSnapshot> file, std::stop_token stop = {});

    bool atEnd() const { return atEnd_; }
    /// The next chats, decoded by this thread: those of the next \a size bytes, in whole chats. Throws
    /// JsonError and Cancelled.
    LoadedChats readSome(qint64 size);
    /// All chats that are left, decoded by as many threads as there are cores. Throws as above.
    LoadedChats readRest();

private:
    struct Batch;

    std::vector<ChatRange> findChats(qint64 size);
    static std::vector<Batch> batchesOf(const std::vector<ChatRange>& ranges);
    void decode(LoadedChats& loaded, const Batch& batch) const;

    std::shared_ptr<const FileSnapshot> file_;
    std::stop_token stop_;
    QByteArrayView text_;
    std::optional<json::ArrayScanner> scanner_; ///< once reading has begun
    qint64 foundEnd_ = 0;                       ///< of the chats that were found so far
    bool atEnd_ = false;
};

} // namespace teskal
