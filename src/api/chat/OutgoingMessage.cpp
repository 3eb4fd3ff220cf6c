#include "OutgoingMessage.h"

#include "JsonWriter.h"

namespace teskal {

namespace {

void write(JsonWriter& writer, const OutgoingAttachment& attachment) {
    writer.beginObject();
    writer.key("mediaType");
    writer.string(attachment.mediaType);
    writer.key(attachment.fileId ? "fileId" : "dataUrl");
    writer.string(attachment.fileId ? *attachment.fileId : *attachment.dataUrl);
    writer.endObject();
}

} // namespace

OutgoingMessage OutgoingMessage::from(const ChatMessage& message) {
    OutgoingMessage outgoing;
    outgoing.role = message.role;
    outgoing.content = message.content;
    for (const Attachment& file : message.attachments) {
        if (!file.fileId && !file.dataUrl)
            continue;
        OutgoingAttachment attachment;
        attachment.name = file.name;
        attachment.mediaType = file.mediaType;
        attachment.fileId = file.fileId;
        if (!file.fileId)
            attachment.dataUrl = file.dataUrl;
        outgoing.attachments.append(attachment);
    }
    return outgoing;
}

QByteArray encodeOutgoing(const OutgoingMessage& message) {
    JsonWriter writer;
    writer.beginObject();
    writer.key("role");
    writer.string(message.role == Role::Assistant ? u"assistant" : u"user");
    writer.key("content");
    writer.string(message.content);
    if (!message.attachments.isEmpty()) {
        writer.key("attachments");
        writer.beginArray();
        for (const OutgoingAttachment& attachment : message.attachments)
            write(writer, attachment);
        writer.endArray();
    }
    writer.endObject();
    return writer.take();
}

qsizetype leastEncodedSize(const OutgoingMessage& message) {
    // A UTF-16 code unit takes at least one byte: two units of a surrogate pair become four bytes.
    qsizetype size = message.content.size();
    for (const OutgoingAttachment& attachment : message.attachments)
        size += attachment.mediaType.size() +
                (attachment.fileId ? *attachment.fileId : *attachment.dataUrl).size();
    return size;
}

} // namespace teskal
