#pragma once

#include "ChatMessage.h"

#include <QStringView>

#include <optional>

namespace teskal {

/// Tells by how much a message has grown since it was last sent, so that not all of a long answer has to be
/// sent with every few words.
class MessageGrowth {
public:
    struct Growth {
        qsizetype from = 0; ///< length of the text that was sent before, in UTF-16 units
        QStringView text;   ///< what came after it; valid as long as the message's text
    };

    /// Remembers \a message as sent. Says what was added to its text since the last time when nothing else
    /// about it has changed; none when it has to be sent whole.
    std::optional<Growth> send(const ChatMessage& message);
    /// The next message has to be sent whole.
    void forget() { last_.reset(); }

private:
    std::optional<ChatMessage> last_;
};

} // namespace teskal
