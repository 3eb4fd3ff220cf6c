#pragma once

#include <QString>

#include <optional>

namespace teskal {

/// One element of the service's list of chats.
struct ChatListEntry {
    QString id;
    std::optional<QString> title;
    double updatedAt = 0; ///< ms since 1970
    bool deleted = false; ///< a tombstone: the client removes its copy

    friend bool operator==(const ChatListEntry&, const ChatListEntry&) = default;
};

} // namespace teskal
