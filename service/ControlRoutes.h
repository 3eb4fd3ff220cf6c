#pragma once

#include "HttpValues.h"
#include "Latch.h"
#include "ServiceState.h"

namespace teskal::service {

/// Everything below /control. `stop` ends a long wait.
HttpReply control(const HttpRequest& request, SharedState& state, const Latch& stop);

} // namespace teskal::service
