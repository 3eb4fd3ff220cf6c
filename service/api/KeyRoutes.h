#pragma once

#include "HttpValues.h"
#include "ServiceState.h"

namespace teskal::service {

// /api/keys: keys for calling /api/chat from a user's own code.
HttpReply getKeys(const HttpRequest& request, SharedState& state, const std::string& account);
HttpReply postKey(const HttpRequest& request, SharedState& state, const std::string& account);
HttpReply deleteKey(const HttpRequest& request, SharedState& state, const std::string& account);

} // namespace teskal::service
