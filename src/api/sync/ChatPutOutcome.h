#pragma once

#include "WireChat.h"

#include <variant>

namespace teskal {

/// The service stored the chat.
struct ChatSaved {
    friend bool operator==(const ChatSaved&, const ChatSaved&) = default;
};

/// The service holds a deletion of the chat: the local copy is to go.
struct ChatDeleted {
    friend bool operator==(const ChatDeleted&, const ChatDeleted&) = default;
};

/// The service holds a newer version, which the client adopts.
struct NewerChat {
    WireChat chat;

    friend bool operator==(const NewerChat&, const NewerChat&) = default;
};

/// How the service answered a chat that was sent to it.
using ChatPutOutcome = std::variant<ChatSaved, ChatDeleted, NewerChat>;

} // namespace teskal
