#pragma once

#include "Chat.h"

namespace teskal::bench {

/// The same records through QJsonDocument: what the measured codec replaces.
QList<Chat> decodeWithQJsonDocument(QByteArrayView json);
QByteArray encodeWithQJsonDocument(const QList<Chat>& chats);

} // namespace teskal::bench
