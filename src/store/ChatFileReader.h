#pragma once

#include "Chat.h"
#include "FileSnapshot.h"

#include <QString>

#include <memory>
#include <stop_token>
#include <vector>

namespace teskal {

/// Where the text of one chat stands in a chat file, in bytes.
struct ChatRange {
    qint64 begin = 0;
    qint64 size = 0;

    qint64 end() const { return begin + size; }
};

/// What a chat file holds: the chats in its order, and where the text of each stands in it.
struct LoadedChats {
    std::vector<Chat> chats;
    std::vector<ChatRange> ranges; ///< one for each chat
    std::shared_ptr<const FileSnapshot> file;
    bool damaged = false; ///< the file is there but cannot be read or does not decode; it gives no chats
};

/// Reads the file at \a path, a JSON array of chats; nothing when there is none. Chats are decoded by several
/// threads at once, and the text is given up as it is read, so that little more than the chats is held.
/// Throws Cancelled soon after \a stop is set. Any thread.
LoadedChats readChatFile(const QString& path, const std::stop_token& stop = {});

} // namespace teskal
