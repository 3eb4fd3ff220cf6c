#pragma once

#include "JSONValue.h"
#include "MessageError.h"

#include <QList>
#include <QString>

#include <optional>

namespace teskal {

/// A file of a user message as it travels: without its inline data.
struct WireAttachment {
    QString name;
    QString mediaType; ///< MIME type
    std::optional<QString> fileId;

    friend bool operator==(const WireAttachment&, const WireAttachment&) = default;
};

/// Generated media as it travels.
struct WireMedia {
    QString type; ///< "image", "video" or "music"
    std::optional<QString> status;
    std::optional<QString> fileId;
    std::optional<QString> url; ///< a public https address
    std::optional<QString> mediaType;
    std::optional<QString> prompt;
    std::optional<QString> model;
    std::optional<JSONValue> operation; ///< {"job": token} when this program wrote it
    std::optional<QString> requestId;
    std::optional<QString> lyrics;
    std::optional<QString> message;
    std::optional<double> startedAt; ///< ms since 1970

    friend bool operator==(const WireMedia&, const WireMedia&) = default;
};

/// A message as it travels.
struct WireMessage {
    QString id;
    QString role; ///< "user" or "assistant"; anything else comes from other programs
    std::optional<QString> content;
    QList<WireAttachment> attachments;
    std::optional<JSONValue> route;
    std::optional<WireMedia> media;
    std::optional<MessageError> error;

    friend bool operator==(const WireMessage&, const WireMessage&) = default;
};

/// A chat in the form in which it travels to and from the service: smaller than the local one, without inline
/// data, marks of this machine and answers that are still arriving. Read and written with RecordCodec.h.
struct WireChat {
    QString id;
    std::optional<QString> title;
    std::optional<double> createdAt; ///< ms since 1970
    double updatedAt = 0;            ///< ms since 1970
    std::optional<QList<WireMessage>> messages;

    friend bool operator==(const WireChat&, const WireChat&) = default;
};

} // namespace teskal
