#pragma once

#include "ChatMessage.h"
#include "JsonWriter.h"

#include <QByteArray>
#include <QList>
#include <QString>

#include <functional>

namespace teskal {

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
/// The same text in pieces of about a megabyte: saving needs no copy of the whole, and the system writes one
/// piece while the next is made. \a put may throw.
void encodeChats(const QList<Chat>& chats, const std::function<void(QByteArrayView)>& put);

/// Writes chats one after the other as that array.
class ChatArrayWriter {
public:
    ChatArrayWriter() { writer_.beginArray(); }
    void append(const Chat& chat);
    QByteArray take();

private:
    JsonWriter writer_;
};

} // namespace teskal
