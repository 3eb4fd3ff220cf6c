#include "MessageDisplay.h"

#include "DataUrl.h"
#include "Fields.h"
#include "InlineFiles.h"

namespace teskal {

namespace {

struct ShownAttachment {
    QString name;
    QString mediaType;
    std::optional<QString> dataUrl;
    std::optional<QString> fileId;
    std::optional<QString> url;
    bool dropped = false;
};

struct ShownMessage {
    QString id;
    Role role = Role::User;
    QString content;
    QList<ShownAttachment> attachments;
    std::optional<JSONValue> route;
    std::optional<JSONValue> activity;
    bool pending = false;
    std::optional<MessageError> error;
    std::optional<Media> media;
};

QString fileAddress(const QString& fileId) {
    return QStringLiteral("teskal-app://file/") + fileId;
}

ShownAttachment shown(const Attachment& file, InlineFiles& files) {
    ShownAttachment attachment;
    attachment.name = file.name;
    attachment.mediaType = file.mediaType;
    attachment.fileId = file.fileId;
    attachment.dropped = file.dropped;
    if (file.fileId)
        attachment.url = fileAddress(*file.fileId);
    else if (const auto id = file.dataUrl ? files.identify(*file.dataUrl) : std::nullopt)
        attachment.url = fileAddress(*id);
    else
        attachment.dataUrl = file.dataUrl;
    return attachment;
}

Media shown(Media media, InlineFiles& files) {
    if (media.url && isDataUrl(*media.url)) {
        // The bytes are here already, also when the service has them.
        if (const auto id = files.identify(*media.url))
            media.url = fileAddress(*id);
    } else if (media.fileId) {
        media.url = fileAddress(*media.fileId);
    }
    return media;
}

ShownMessage shown(const ChatMessage& message, InlineFiles& files) {
    ShownMessage display;
    display.id = message.id;
    display.role = message.role;
    display.content = message.content;
    for (const Attachment& file : message.attachments)
        display.attachments.append(shown(file, files));
    display.route = message.route;
    display.activity = message.activity;
    display.pending = message.pending;
    display.error = message.error;
    if (message.media)
        display.media = shown(*message.media, files);
    return display;
}

} // namespace

template<>
struct RecordFields<ShownAttachment> {
    static constexpr auto list = std::tuple{
        requiredField("name", &ShownAttachment::name),
        requiredField("mediaType", &ShownAttachment::mediaType),
        optionalField("dataUrl", &ShownAttachment::dataUrl),
        optionalField("fileId", &ShownAttachment::fileId),
        optionalField("url", &ShownAttachment::url),
        optionalField("dropped", &ShownAttachment::dropped),
    };
};

template<>
struct RecordFields<ShownMessage> {
    static constexpr auto list = std::tuple{
        requiredField("id", &ShownMessage::id),
        requiredField("role", &ShownMessage::role),
        requiredField("content", &ShownMessage::content),
        optionalField("attachments", &ShownMessage::attachments),
        optionalField("route", &ShownMessage::route),
        optionalField("activity", &ShownMessage::activity),
        optionalField("pending", &ShownMessage::pending),
        optionalField("error", &ShownMessage::error),
        optionalField("media", &ShownMessage::media),
    };
};

QByteArray displayJson(const ChatMessage& message, InlineFiles& files) {
    return encodeRecord(shown(message, files));
}

QByteArray displayJson(const QString& chatId, const QList<ChatMessage>& messages, InlineFiles& files) {
    JsonWriter writer;
    writer.beginObject();
    writer.key("id");
    writer.string(chatId);
    writer.key("messages");
    writer.beginArray();
    for (const ChatMessage& message : messages)
        json::writeValue(writer, shown(message, files));
    writer.endArray();
    writer.endObject();
    return writer.take();
}

} // namespace teskal
