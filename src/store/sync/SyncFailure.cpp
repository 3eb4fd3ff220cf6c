#include "SyncFailure.h"

#include "APIError.h"

namespace teskal {

SyncFailure syncFailure(const APIError& error) {
    const int status = error.status();
    if (status == 503)
        return SyncFailure::Unavailable;
    // A session that ended and too many requests are about the account, not about the chat.
    const bool refused = status >= 400 && status <= 499 && status != 401 && status != 429;
    return refused ? SyncFailure::ThisChat : SyncFailure::Pass;
}

} // namespace teskal
