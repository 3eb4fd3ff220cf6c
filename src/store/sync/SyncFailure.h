#pragma once

namespace teskal {

class APIError;

/// What a failed call about one chat means for the pass that made it.
enum class SyncFailure {
    Unavailable, ///< no history is kept for this account: nothing more is tried
    ThisChat,    ///< the service will not have this chat; the others go on
    Pass,        ///< the pass ends, and the next one starts over
};

/// Which of them \a error is, by its status.
SyncFailure syncFailure(const APIError& error);

} // namespace teskal
