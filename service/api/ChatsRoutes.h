#pragma once

#include "HttpValues.h"
#include "ServiceState.h"

namespace teskal::service {

// /api/chats: the history that an account's devices share. A change wins over an older one, and over an older
// deletion; a deletion wins over everything that is not newer.

/// The list, or with `?id=` one chat.
HttpReply getChats(const HttpRequest& request, SharedState& state, const std::string& account);
HttpReply putChat(const HttpRequest& request, SharedState& state, const std::string& account);
HttpReply deleteChat(const HttpRequest& request, SharedState& state, const std::string& account);

} // namespace teskal::service
