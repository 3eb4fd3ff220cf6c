#pragma once

#include "Stage.h"

namespace teskal {
class TeskalApp;
}

namespace teskal::tour {

/// Somebody speaks instead of typing. There need be no microphone: the composer is told what one would tell.
void playVoice(TeskalApp& app, const Stage& stage);

} // namespace teskal::tour
