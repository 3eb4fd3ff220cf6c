#pragma once

#include "HttpValues.h"
#include "ServiceState.h"

namespace teskal::service {

/// POST /api/files: stores the body under a new identifier.
HttpReply postFile(const HttpRequest& request, SharedState& state, const std::string& account);
/// GET /api/files?id=: the bytes with the Content-Type they came with.
HttpReply getFile(const HttpRequest& request, SharedState& state, const std::string& account);

} // namespace teskal::service
