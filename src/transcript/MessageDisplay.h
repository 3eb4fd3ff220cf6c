#pragma once

#include "ChatMessage.h"

#include <QByteArray>

namespace teskal {

/// The JSON of \a message as the page takes it: the members of the stored form, with stored files pointed at
/// by a "teskal-app://file/" address instead of their data.
QByteArray displayJson(const ChatMessage& message);

/// The object that `setChat` takes: "id" and "messages".
QByteArray displayJson(const QString& chatId, const QList<ChatMessage>& messages);

} // namespace teskal
