#pragma once

#include "HttpValues.h"
#include "ServiceState.h"

namespace teskal::service {

// How a video or a song is coming along: GET /api/video?job=, /api/music?job=.
HttpReply getVideoJob(const HttpRequest& request, SharedState& state, const std::string& account);
HttpReply getMusicJob(const HttpRequest& request, SharedState& state, const std::string& account);

} // namespace teskal::service
