#pragma once

#include "Chat.h"

namespace teskal {

/// Mends a chat as it comes from its file: whole milliseconds (createdAt down, updatedAt up), and answers
/// that were still arriving when the application ended become stopped ones. An answer whose media job the
/// service still works on is left alone, so that it can be picked up again. Returns whether a message
/// changed.
bool repairLoadedChat(Chat& chat);

/// The error of an answer that was stopped before any text came.
MessageError stoppedError();

/// Ends every answer of \a chat that is still arriving; one without text or media gets the "STOPPED" error.
/// Returns whether a message changed.
bool stopPendingMessages(Chat& chat);

} // namespace teskal
