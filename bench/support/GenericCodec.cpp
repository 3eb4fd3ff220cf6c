#include "GenericCodec.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace teskal::bench {

namespace {

const QString idKey = QStringLiteral("id");
const QString titleKey = QStringLiteral("title");
const QString createdAtKey = QStringLiteral("createdAt");
const QString updatedAtKey = QStringLiteral("updatedAt");
const QString messagesKey = QStringLiteral("messages");
const QString roleKey = QStringLiteral("role");
const QString contentKey = QStringLiteral("content");
const QString attachmentsKey = QStringLiteral("attachments");
const QString routeKey = QStringLiteral("route");
const QString pendingKey = QStringLiteral("pending");
const QString errorKey = QStringLiteral("error");
const QString codeKey = QStringLiteral("code");
const QString messageKey = QStringLiteral("message");
const QString nameKey = QStringLiteral("name");
const QString mediaTypeKey = QStringLiteral("mediaType");
const QString dataUrlKey = QStringLiteral("dataUrl");
const QString fileIdKey = QStringLiteral("fileId");
const QString droppedKey = QStringLiteral("dropped");

std::optional<QString> optionalText(const QJsonObject& object, const QString& key) {
    const QJsonValue value = object.value(key);
    return value.isString() ? std::optional(value.toString()) : std::nullopt;
}

void insertOptional(QJsonObject& object, const QString& key, const std::optional<QString>& text) {
    if (text)
        object.insert(key, *text);
}

JSONValue valueFrom(const QJsonValue& value) {
    switch (value.type()) {
    case QJsonValue::Bool:
        return value.toBool();
    case QJsonValue::Double:
        return value.toDouble();
    case QJsonValue::String:
        return value.toString();
    case QJsonValue::Array: {
        JSONValue::Array elements;
        const QJsonArray array = value.toArray();
        for (const QJsonValue& element : array)
            elements.append(valueFrom(element));
        return elements;
    }
    case QJsonValue::Object: {
        JSONValue::Object members;
        const QJsonObject object = value.toObject();
        for (auto it = object.begin(); it != object.end(); ++it)
            members.insert(it.key(), valueFrom(it.value()));
        return members;
    }
    default:
        return nullptr;
    }
}

QJsonValue toJson(const JSONValue& value) {
    if (value.string())
        return *value.string();
    if (value.number())
        return *value.number();
    if (value.boolean())
        return *value.boolean();
    if (value.array()) {
        QJsonArray array;
        for (const JSONValue& element : *value.array())
            array.append(toJson(element));
        return array;
    }
    if (value.object()) {
        QJsonObject object;
        for (auto it = value.object()->begin(); it != value.object()->end(); ++it)
            object.insert(it.key(), toJson(it.value()));
        return object;
    }
    return QJsonValue::Null;
}

Attachment attachmentFrom(const QJsonObject& object) {
    return {.name = object.value(nameKey).toString(),
            .mediaType = object.value(mediaTypeKey).toString(),
            .dataUrl = optionalText(object, dataUrlKey),
            .fileId = optionalText(object, fileIdKey),
            .dropped = object.value(droppedKey).toBool()};
}

QJsonObject toJson(const Attachment& attachment) {
    QJsonObject object{{nameKey, attachment.name}, {mediaTypeKey, attachment.mediaType}};
    insertOptional(object, dataUrlKey, attachment.dataUrl);
    insertOptional(object, fileIdKey, attachment.fileId);
    if (attachment.dropped)
        object.insert(droppedKey, true);
    return object;
}

ChatMessage messageFrom(const QJsonObject& object) {
    ChatMessage message;
    message.id = object.value(idKey).toString();
    message.role =
        object.value(roleKey).toString() == QLatin1String("assistant") ? Role::Assistant : Role::User;
    message.content = object.value(contentKey).toString();
    const QJsonArray attachments = object.value(attachmentsKey).toArray();
    for (const QJsonValue& attachment : attachments)
        message.attachments.append(attachmentFrom(attachment.toObject()));
    if (object.contains(routeKey))
        message.route = valueFrom(object.value(routeKey));
    message.pending = object.value(pendingKey).toBool();
    if (object.contains(errorKey)) {
        const QJsonObject error = object.value(errorKey).toObject();
        message.error = MessageError{optionalText(error, codeKey), error.value(messageKey).toString()};
    }
    return message;
}

QJsonObject toJson(const ChatMessage& message) {
    QJsonObject object{
        {idKey, message.id},
        {roleKey, message.role == Role::Assistant ? QStringLiteral("assistant") : QStringLiteral("user")},
        {contentKey, message.content}};
    QJsonArray attachments;
    for (const Attachment& attachment : message.attachments)
        attachments.append(toJson(attachment));
    if (!attachments.isEmpty())
        object.insert(attachmentsKey, attachments);
    if (message.route)
        object.insert(routeKey, toJson(*message.route));
    if (message.pending)
        object.insert(pendingKey, true);
    if (message.error) {
        QJsonObject error{{messageKey, message.error->message}};
        insertOptional(error, codeKey, message.error->code);
        object.insert(errorKey, error);
    }
    return object;
}

} // namespace

QList<Chat> decodeWithQJsonDocument(QByteArrayView json) {
    const QJsonDocument document = QJsonDocument::fromJson(QByteArray::fromRawData(json.data(), json.size()));
    const QJsonArray array = document.array();
    QList<Chat> chats;
    chats.reserve(array.size());
    for (const QJsonValue& value : array) {
        const QJsonObject object = value.toObject();
        Chat& chat = chats.emplaceBack();
        chat.id = object.value(idKey).toString();
        chat.title = object.value(titleKey).toString();
        chat.createdAt = object.value(createdAtKey).toDouble();
        chat.updatedAt = object.value(updatedAtKey).toDouble();
        const QJsonArray messages = object.value(messagesKey).toArray();
        chat.messages.reserve(messages.size());
        for (const QJsonValue& message : messages)
            chat.messages.append(messageFrom(message.toObject()));
    }
    return chats;
}

QByteArray encodeWithQJsonDocument(const QList<Chat>& chats) {
    QJsonArray array;
    for (const Chat& chat : chats) {
        QJsonArray messages;
        for (const ChatMessage& message : chat.messages)
            messages.append(toJson(message));
        array.append(QJsonObject{{idKey, chat.id},
                                 {titleKey, chat.title},
                                 {createdAtKey, chat.createdAt},
                                 {updatedAtKey, chat.updatedAt},
                                 {messagesKey, messages}});
    }
    return QJsonDocument(array).toJson(QJsonDocument::Compact);
}

} // namespace teskal::bench
