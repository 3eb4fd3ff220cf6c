#pragma once

#include "HttpValues.h"
#include "ServiceState.h"

namespace teskal::service {

/// POST /api/chat: the streamed (or, for media, whole) answer to a conversation.
HttpReply chat(const HttpRequest& request, SharedState& state);

} // namespace teskal::service
