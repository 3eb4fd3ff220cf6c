#pragma once

#include "Chat.h"
#include "WireChat.h"

namespace teskal {

/// \a chat as it is sent: without answers that are still arriving, files that are not stored at the service,
/// inline data and marks of this machine.
WireChat wireChat(const Chat& chat);

/// The received \a wire as a chat of this machine. Inline data of files that \a existing (the local version,
/// null when there is none) holds is kept; \a nowMs, in ms since 1970, becomes the start of a running job
/// that tells none.
Chat localChat(const WireChat& wire, const Chat* existing, double nowMs);

} // namespace teskal
