#pragma once

#include "OAuthRoutes.h"

namespace teskal::service {

/// A route for signed-in callers: `handle` gets the account (`sub`) that the bearer token belongs to.
template<HttpReply (*handle)(const HttpRequest&, SharedState&, const std::string& account)>
HttpReply signedIn(const HttpRequest& request, SharedState& state) {
    const auto profile = bearerOf(request, state);
    return profile ? handle(request, state, profile->sub) : unauthorized();
}

/// The answer to a request that makes no sense, with the reason as one sentence.
inline HttpReply badRequest(const std::string& message) {
    return errorReply(400, message, "BAD_REQUEST");
}

} // namespace teskal::service
