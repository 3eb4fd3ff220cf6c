#include "MessageGrowth.h"

#include <utility>

namespace teskal {

namespace {

bool onlyTextDiffers(ChatMessage before, const ChatMessage& after) {
    before.content = after.content;
    return before == after;
}

/// Whether \a text can be cut at \a position without parting the halves of a character.
bool isBoundary(QStringView text, qsizetype position) {
    return position == 0 || position == text.size() || !text[position - 1].isHighSurrogate() ||
           !text[position].isLowSurrogate();
}

} // namespace

std::optional<MessageGrowth::Growth> MessageGrowth::send(const ChatMessage& message) {
    const std::optional<ChatMessage> before = std::exchange(last_, message);
    if (!before || !onlyTextDiffers(*before, message) || !message.content.startsWith(before->content))
        return std::nullopt;
    const qsizetype from = before->content.size();
    if (!isBoundary(message.content, from))
        return std::nullopt;
    return Growth{from, QStringView(message.content).sliced(from)};
}

} // namespace teskal
