#pragma once

#include <vector>

namespace teskal::bench {

/// What the program holds, in bytes. Linux with the GNU C library only.
struct MemoryUse {
    double heap = 0;     ///< handed out by the allocator and not given back
    double resident = 0; ///< of this process, after the allocator gave the system what it keeps for later
    double engine = 0;   ///< proportional size of the web engine's other processes
};

/// Throws std::runtime_error when the system does not tell.
MemoryUse memoryUse();

/// By how much \a values, taken every \a step answers, grow with each answer: the slope of the line that fits
/// them best.
double growthPerAnswer(const std::vector<double>& values, int step);

} // namespace teskal::bench
