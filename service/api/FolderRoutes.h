#pragma once

#include "HttpValues.h"
#include "ServiceState.h"

namespace teskal::service {

/// PUT /api/folders: merges the caller's folder document into the account's and answers with the result.
HttpReply putFolders(const HttpRequest& request, SharedState& state, const std::string& account);

} // namespace teskal::service
