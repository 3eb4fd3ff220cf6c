#pragma once

#include "ChatMessage.h"

#include <QByteArray>
#include <QList>
#include <QString>

#include <optional>

namespace teskal {

/// A file as it is sent along: the stored copy's identifier, or the data itself.
struct OutgoingAttachment {
    QString name; ///< not sent; for the marker that stands in for a file left out
    QString mediaType;
    std::optional<QString> fileId;
    std::optional<QString> dataUrl; ///< sent when there is no fileId

    friend bool operator==(const OutgoingAttachment&, const OutgoingAttachment&) = default;
};

/// A message as the chat endpoint takes it.
struct OutgoingMessage {
    Role role = Role::User;
    QString content;
    QList<OutgoingAttachment> attachments;

    /// Attachments with neither identifier nor data are left out.
    static OutgoingMessage from(const ChatMessage& message);

    friend bool operator==(const OutgoingMessage&, const OutgoingMessage&) = default;
};

/// The message as compact JSON.
QByteArray encodeOutgoing(const OutgoingMessage& message);
/// A size, in bytes, that encodeOutgoing never goes below; found without looking at the text.
qsizetype leastEncodedSize(const OutgoingMessage& message);

} // namespace teskal
