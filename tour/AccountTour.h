#pragma once

#include "Stage.h"

namespace teskal {
class TeskalApp;
}

namespace teskal::tour {

/// What belongs to the account: the settings' panes, the keys and where requests went. Somebody is signed in,
/// and the chats are shown; they are again at the end.
void playAccount(TeskalApp& app, const Stage& stage);

} // namespace teskal::tour
