#pragma once

#include "Chat.h"
#include "ChatListEntry.h"
#include "RecordFields.h"

// The members of every record of this room, in the order in which they are written.

namespace teskal {

inline void readValue(simdjson::dom::element element, Role& role, Source source) {
    QString name;
    json::readValue(element, name, source);
    // Only our own two roles exist; whatever else a file may say is text that a person reads as theirs.
    role = name == QLatin1String("assistant") ? Role::Assistant : Role::User;
}

inline void writeValue(JsonWriter& writer, Role role) {
    writer.string(role == Role::Assistant ? u"assistant" : u"user");
}

template<>
struct RecordFields<MessageError> {
    static constexpr auto list = std::tuple{
        optionalField("code", &MessageError::code),
        requiredField("message", &MessageError::message),
    };
};

template<>
struct RecordFields<Attachment> {
    static constexpr auto list = std::tuple{
        requiredField("name", &Attachment::name),       requiredField("mediaType", &Attachment::mediaType),
        optionalField("dataUrl", &Attachment::dataUrl), optionalField("fileId", &Attachment::fileId),
        optionalField("dropped", &Attachment::dropped),
    };
};

template<>
struct RecordFields<Media> {
    static constexpr auto list = std::tuple{
        requiredField("type", &Media::type),       optionalField("url", &Media::url),
        optionalField("prompt", &Media::prompt),   optionalField("status", &Media::status),
        optionalField("model", &Media::model),     optionalField("operation", &Media::operation),
        optionalField("message", &Media::message), optionalField("dropped", &Media::dropped),
        optionalField("fileId", &Media::fileId),   optionalField("mediaType", &Media::mediaType),
        optionalField("job", &Media::job),         optionalField("requestId", &Media::requestId),
        optionalField("lyrics", &Media::lyrics),   optionalField("startedAt", &Media::startedAt),
    };
};

template<>
struct RecordFields<ChatMessage> {
    static constexpr auto list = std::tuple{
        requiredField("id", &ChatMessage::id),
        requiredField("role", &ChatMessage::role),
        requiredField("content", &ChatMessage::content),
        optionalField("attachments", &ChatMessage::attachments),
        optionalField("route", &ChatMessage::route),
        optionalField("activity", &ChatMessage::activity),
        optionalField("pending", &ChatMessage::pending),
        optionalField("error", &ChatMessage::error),
        optionalField("media", &ChatMessage::media),
    };
};

template<>
struct RecordFields<Chat> {
    static constexpr auto list = std::tuple{
        requiredField("id", &Chat::id),
        requiredField("title", &Chat::title),
        requiredField("createdAt", &Chat::createdAt),
        requiredField("updatedAt", &Chat::updatedAt),
        requiredField("messages", &Chat::messages),
    };
};

template<>
struct RecordFields<ChatListEntry> {
    static constexpr auto list = std::tuple{
        requiredField("id", &ChatListEntry::id),
        optionalField("title", &ChatListEntry::title),
        requiredField("updatedAt", &ChatListEntry::updatedAt),
        optionalField("deleted", &ChatListEntry::deleted),
    };
};

} // namespace teskal
