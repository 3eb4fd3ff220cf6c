#pragma once

#include "ChatMessage.h"

#include <QByteArray>
#include <QList>

namespace teskal::test {

/// What is sent for \a conversation, made to fit in the plain way: the whole list is written out again for
/// every message that loses its files. Shares nothing with the code under test but the stored message.
QByteArray referenceFit(const QList<ChatMessage>& conversation);

} // namespace teskal::test
