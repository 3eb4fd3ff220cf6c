#pragma once

#include <algorithm>

namespace teskal {

/// The time that a change made at \a nowMs gives a record last changed at \a previousMs: never earlier than
/// before, so that a clock set back cannot hide a change from other devices.
inline double touchedTime(double nowMs, double previousMs) {
    return std::max(nowMs, previousMs + 1);
}

} // namespace teskal
