#pragma once

#include "HttpValues.h"
#include "ServiceState.h"

namespace teskal::service {

/// GET or POST /api/unfurl?url=: a link card made from the address alone. Nothing is ever fetched.
HttpReply unfurl(const HttpRequest& request, SharedState& state, const std::string& account);

} // namespace teskal::service
