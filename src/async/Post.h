#pragma once

#include <functional>

namespace teskal {

/// Runs \a action from the event loop of the main thread, after the current event. Used wherever
/// calling at once would re-enter code that is still running. Main thread only.
void post(std::function<void()> action);

} // namespace teskal
