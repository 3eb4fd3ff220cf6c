#pragma once

#include "ChatMessage.h"

#include <QByteArray>

namespace teskal {

class InlineFiles;

/// The JSON of \a message as the page takes it: the members of the stored form, with a "teskal-app://file/"
/// address for stored files and for large ones that are only in the message, which \a files serves.
QByteArray displayJson(const ChatMessage& message, InlineFiles& files);

/// The object that `setChat` takes: "id" and "messages".
QByteArray displayJson(const QString& chatId, const QList<ChatMessage>& messages, InlineFiles& files);

} // namespace teskal
