#pragma once

#include "ChatMessage.h"
#include "JsonWriter.h"

#include <QByteArray>
#include <QList>
#include <QString>

#include <memory>

namespace teskal {

namespace json {
class JsonText;
}

/// A conversation. Times are ms since 1970, whole numbers held as doubles.
struct Chat {
    QString id;
    QString title;
    double createdAt = 0;
    double updatedAt = 0;        ///< time of the last change; drives sync and order
    QList<ChatMessage> messages; ///< oldest first

    friend bool operator==(const Chat&, const Chat&) = default;
};

/// The chats of one account as the JSON array of their file. Reads one chat at a time, so that little more
/// than the result is held. Throws JsonError when the text is not an array of chats.
QList<Chat> decodeChats(QByteArrayView json);
QByteArray encodeChats(const QList<Chat>& chats);

/// Writes one chat after the other into the same buffer.
class ChatEncoder {
public:
    /// \a chat as one element of the array; valid until the next call.
    QByteArrayView encode(const Chat& chat);

private:
    JsonWriter writer_;
};

/// Reads one chat after the other and reuses the parser's buffers.
class ChatDecoder {
public:
    ChatDecoder();
    ~ChatDecoder();

    /// The chat of one element of the array. \a readableAfter is the number of bytes that may be read behind
    /// it. Throws JsonError.
    Chat decode(QByteArrayView json, qsizetype readableAfter);

private:
    std::unique_ptr<json::JsonText> reader_;
};

} // namespace teskal
