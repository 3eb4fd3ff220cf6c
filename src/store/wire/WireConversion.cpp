#include "WireConversion.h"

#include <QHash>

#include <cmath>

namespace teskal {

namespace {

const QString jobKey = QStringLiteral("job");

/// Data URLs by the identifier of the stored file.
using InlineData = QHash<QString, QString>;

bool isPublic(const std::optional<QString>& url) {
    return url && url->startsWith(QLatin1String("https://"));
}

WireMedia wireMedia(const Media& media) {
    WireMedia wire;
    wire.type = media.type;
    wire.status = media.status.value_or(QStringLiteral("done"));
    wire.fileId = media.fileId;
    if (isPublic(media.url))
        wire.url = media.url;
    wire.mediaType = media.mediaType;
    wire.prompt = media.prompt;
    wire.model = media.model;
    if (const auto token = media.jobToken())
        wire.operation = JSONValue(JSONValue::Object{{jobKey, *token}});
    wire.requestId = media.requestId;
    wire.lyrics = media.lyrics;
    wire.message = media.message;
    wire.startedAt = media.startedAt;
    return wire;
}

WireMessage wireMessage(const ChatMessage& message) {
    WireMessage wire;
    wire.id = message.id;
    wire.role = message.role == Role::Assistant ? QStringLiteral("assistant") : QStringLiteral("user");
    wire.content = message.content;
    for (const Attachment& file : message.attachments)
        if (file.fileId)
            wire.attachments.append({file.name, file.mediaType, file.fileId});
    wire.route = message.route;
    if (message.media)
        wire.media = wireMedia(*message.media);
    wire.error = message.error;
    return wire;
}

InlineData inlineData(const Chat& chat) {
    InlineData data;
    for (const ChatMessage& message : chat.messages) {
        for (const Attachment& file : message.attachments)
            if (file.fileId && file.dataUrl)
                data.insert(*file.fileId, *file.dataUrl);
        const std::optional<Media>& media = message.media;
        if (media && media->fileId && media->url && media->url->startsWith(QLatin1String("data:")))
            data.insert(*media->fileId, *media->url);
    }
    return data;
}

/// None when \a fileId has no inline data.
std::optional<QString> dataUrl(const InlineData& data, const std::optional<QString>& fileId) {
    const auto found = fileId ? data.constFind(*fileId) : data.constEnd();
    return found == data.constEnd() ? std::nullopt : std::optional(*found);
}

Media localMedia(const WireMedia& wire, const InlineData& data, double nowMs) {
    Media media;
    media.type = wire.type;
    media.status = wire.status;
    media.fileId = wire.fileId;
    const std::optional<QString> kept = dataUrl(data, wire.fileId);
    media.url = kept ? kept : wire.url;
    media.mediaType = wire.mediaType;
    media.prompt = wire.prompt;
    media.model = wire.model;
    media.operation = wire.operation;
    media.job = wire.operation ? wire.operation->member(jobKey).text() : std::nullopt;
    media.requestId = wire.requestId;
    media.lyrics = wire.lyrics;
    media.message = wire.message;
    media.startedAt = wire.startedAt;
    if (!wire.startedAt && wire.status == QLatin1String("pending"))
        media.startedAt = std::round(nowMs);
    return media;
}

ChatMessage localMessage(const WireMessage& wire, const InlineData& data, double nowMs) {
    ChatMessage message;
    message.id = wire.id;
    message.role = wire.role == QLatin1String("assistant") ? Role::Assistant : Role::User;
    message.content = wire.content.value_or(QString());
    for (const WireAttachment& file : wire.attachments) {
        Attachment attachment;
        attachment.name = file.name;
        attachment.mediaType = file.mediaType;
        attachment.fileId = file.fileId;
        attachment.dataUrl = dataUrl(data, file.fileId);
        message.attachments.append(attachment);
    }
    message.route = wire.route;
    message.error = wire.error;
    if (wire.media)
        message.media = localMedia(*wire.media, data, nowMs);
    return message;
}

} // namespace

WireChat wireChat(const Chat& chat) {
    WireChat wire;
    wire.id = chat.id;
    wire.title = chat.title;
    wire.createdAt = chat.createdAt;
    wire.updatedAt = chat.updatedAt;
    QList<WireMessage>& messages = wire.messages.emplace();
    messages.reserve(chat.messages.size());
    for (const ChatMessage& message : chat.messages)
        if (!message.pending)
            messages.append(wireMessage(message));
    return wire;
}

Chat localChat(const WireChat& wire, const Chat* existing, double nowMs) {
    const InlineData data = existing ? inlineData(*existing) : InlineData();
    Chat chat;
    chat.id = wire.id;
    chat.title = wire.title.value_or(QString());
    if (chat.title.isEmpty())
        chat.title = QStringLiteral("New chat");
    chat.createdAt = wire.createdAt.value_or(wire.updatedAt);
    chat.updatedAt = wire.updatedAt;
    if (wire.messages) {
        chat.messages.reserve(wire.messages->size());
        for (const WireMessage& message : *wire.messages)
            chat.messages.append(localMessage(message, data, nowMs));
    }
    return chat;
}

} // namespace teskal
