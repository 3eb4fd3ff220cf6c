#include "ChatRepair.h"

#include <cmath>

namespace teskal {

namespace {

bool isRunningJob(const ChatMessage& message) {
    return message.media && message.media->isPending();
}

/// Clears the mark; \a error says why there is nothing to read, when there is nothing.
void endPending(ChatMessage& message, const MessageError& error) {
    message.pending = false;
    if (message.content.isEmpty() && !message.media)
        message.error = error;
}

} // namespace

bool repairLoadedChat(Chat& chat) {
    chat.createdAt = std::floor(chat.createdAt);
    chat.updatedAt = std::ceil(chat.updatedAt);
    const MessageError quit{std::nullopt, QStringLiteral("Stopped when Teskal quit.")};
    bool changed = false;
    for (ChatMessage& message : chat.messages) {
        if (!message.pending || isRunningJob(message))
            continue;
        endPending(message, quit);
        changed = true;
    }
    return changed;
}

MessageError stoppedError() {
    return {QStringLiteral("STOPPED"), QStringLiteral("Stopped before an answer came back.")};
}

bool stopPendingMessages(Chat& chat) {
    const MessageError stopped = stoppedError();
    bool changed = false;
    for (ChatMessage& message : chat.messages) {
        if (!message.pending)
            continue;
        endPending(message, stopped);
        changed = true;
    }
    return changed;
}

} // namespace teskal
