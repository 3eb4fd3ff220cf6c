#pragma once

#include "HttpValues.h"
#include "ServiceState.h"

#include <optional>

namespace teskal::service {

/// The request's bearer token, empty when it has none.
std::string bearerTokenIn(const HttpRequest& request);
/// Who the request's bearer token belongs to, if it is good.
std::optional<Profile> bearerOf(const HttpRequest& request, SharedState& state);
/// The answer to a request without a good bearer token (RFC 6750 section 3).
HttpReply unauthorized();

HttpReply showAuthorize(const HttpRequest& request, SharedState& state);
HttpReply decideAuthorize(const HttpRequest& request, SharedState& state);
HttpReply exchangeToken(const HttpRequest& request, SharedState& state);
HttpReply userInfo(const HttpRequest& request, SharedState& state);
HttpReply revokeToken(const HttpRequest& request, SharedState& state);

} // namespace teskal::service
