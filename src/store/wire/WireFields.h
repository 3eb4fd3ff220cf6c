#pragma once

#include "Fields.h"
#include "WireChat.h"

// The members of the records that travel, in the order in which they are written.

namespace teskal {

template<>
struct RecordFields<WireAttachment> {
    static constexpr auto list = std::tuple{
        requiredField("name", &WireAttachment::name),
        requiredField("mediaType", &WireAttachment::mediaType),
        optionalField("fileId", &WireAttachment::fileId),
    };
};

template<>
struct RecordFields<WireMedia> {
    static constexpr auto list = std::tuple{
        requiredField("type", &WireMedia::type),           optionalField("status", &WireMedia::status),
        optionalField("fileId", &WireMedia::fileId),       optionalField("url", &WireMedia::url),
        optionalField("mediaType", &WireMedia::mediaType), optionalField("prompt", &WireMedia::prompt),
        optionalField("model", &WireMedia::model),         optionalField("operation", &WireMedia::operation),
        optionalField("requestId", &WireMedia::requestId), optionalField("lyrics", &WireMedia::lyrics),
        optionalField("message", &WireMedia::message),     optionalField("startedAt", &WireMedia::startedAt),
    };
};

template<>
struct RecordFields<WireMessage> {
    static constexpr auto list = std::tuple{
        requiredField("id", &WireMessage::id),
        requiredField("role", &WireMessage::role),
        optionalField("content", &WireMessage::content),
        optionalField("attachments", &WireMessage::attachments),
        optionalField("route", &WireMessage::route),
        optionalField("media", &WireMessage::media),
        optionalField("error", &WireMessage::error),
    };
};

template<>
struct RecordFields<WireChat> {
    static constexpr auto list = std::tuple{
        requiredField("id", &WireChat::id),
        optionalField("title", &WireChat::title),
        optionalField("createdAt", &WireChat::createdAt),
        requiredField("updatedAt", &WireChat::updatedAt),
        optionalField("messages", &WireChat::messages),
    };
};

} // namespace teskal
