#pragma once

#include "ChatListEntry.h"

#include <QList>

namespace teskal {

/// What the service holds of the account's chats.
struct ChatList {
    bool enabled = false;       ///< whether history sync is available for this account
    QList<ChatListEntry> chats; ///< tombstones included

    friend bool operator==(const ChatList&, const ChatList&) = default;
};

} // namespace teskal
