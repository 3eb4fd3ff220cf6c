#pragma once

#include "Attachment.h"
#include "JSONValue.h"
#include "Media.h"
#include "MessageError.h"

#include <QList>
#include <QString>

#include <optional>

namespace teskal {

enum class Role { User, Assistant };

/// One message of a conversation.
struct ChatMessage {
    QString id;
    Role role = Role::User;
    QString content;                   ///< Markdown for answers
    QList<Attachment> attachments;     ///< of a user message
    std::optional<JSONValue> route;    ///< the routing decision of this answer, kept as received
    std::optional<JSONValue> activity; ///< the latest report of what is being done, kept as received
    bool pending = false;              ///< the answer is still under way
    std::optional<MessageError> error; ///< set when the answer failed
    std::optional<Media> media;        ///< generated media of an answer

    friend bool operator==(const ChatMessage&, const ChatMessage&) = default;
};

} // namespace teskal
