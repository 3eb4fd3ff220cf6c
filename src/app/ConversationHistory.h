#pragma once

#include "ChatMessage.h"

#include <QList>

namespace teskal {

/// The stored conversation as it is sent: without failed, unfinished and empty messages (an answer that was
/// cut off but has text counts), with words in place of generated media, and with generated images attached
/// so that models can see them.
QList<ChatMessage> conversationHistory(const QList<ChatMessage>& messages);

} // namespace teskal
