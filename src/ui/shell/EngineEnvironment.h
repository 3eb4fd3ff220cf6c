#pragma once

namespace teskal {

/// Settles how Qt and the web engine run here and which schemes of ours they know. Must run before the
/// application object is made; what the user has set in the environment stays.
void prepareEngineEnvironment();

} // namespace teskal
