#pragma once

#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace teskal::service {

struct ChatAttachment {
    std::string mediaType;
    bool isInline = false; ///< sent as a data URL rather than named by a file identifier
};

struct ChatTurn {
    std::string role; ///< "user" or "assistant"
    std::string content;
    std::vector<ChatAttachment> attachments;
};

/// A conversation, oldest message first; the last one is the user's.
struct ChatRequest {
    std::vector<ChatTurn> turns;

    const ChatTurn& question() const { return turns.back(); }
    bool isFirstExchange() const { return turns.size() == 1; }
};

/// Reads the body of a chat request, or says in one sentence what is wrong with it.
std::variant<ChatRequest, std::string> readChatRequest(std::string_view body);

} // namespace teskal::service
