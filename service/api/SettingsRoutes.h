#pragma once

#include "HttpValues.h"
#include "ServiceState.h"

namespace teskal::service {

/// What anonymising a message costs on top of its answer.
inline constexpr int anonymizeCredits = 1;

/// GET /api/settings: the choices and the models that they are about.
HttpReply getSettings(const HttpRequest& request, SharedState& state, const std::string& account);
/// PUT /api/settings: changes the members that are given.
HttpReply putSettings(const HttpRequest& request, SharedState& state, const std::string& account);
/// GET /api/routes: the models with their recent measurements.
HttpReply getRoutes(const HttpRequest& request, SharedState& state, const std::string& account);

} // namespace teskal::service
