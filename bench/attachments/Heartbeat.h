#pragma once

#include <functional>

namespace teskal::bench {

/// The worst that an event loop met, in ms.
struct Delay {
    double late = 0; ///< how late a timer of one millisecond came
    double busy = 0; ///< what the thread itself computed between two of its beats, whoever else had the cores
};

/// Runs the event loop until \a isOver says so. \a begin is called first and counts, too.
Delay longestDelay(const std::function<void()>& begin, const std::function<bool()>& isOver);

} // namespace teskal::bench
