#pragma once

#include <algorithm>
#include <array>
#include <chrono>
#include <vector>

#if defined(__GLIBC__)
#include <malloc.h>
#endif

namespace teskal::bench {

/// Gives memory that the allocator keeps for later back to the system, where that can be asked for.
inline void releaseFreeMemory() {
#if defined(__GLIBC__)
    malloc_trim(0);
#endif
}

/// Milliseconds that one call of \a work takes. What it returns is destroyed after the clock has stopped.
template<typename Work>
double millisecondsOf(Work&& work) {
    const auto begin = std::chrono::steady_clock::now();
    [[maybe_unused]] const auto result = work();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - begin).count();
}

/// Median time of \a runs calls in ms, after one call that warms up caches. Each begins with an empty heap,
/// as in an application that has just started: whether freed memory lies around makes a factor of three for
/// work that only fills memory.
template<typename Work>
double medianMilliseconds(int runs, Work&& work) {
    millisecondsOf(work);
    std::vector<double> times;
    for (int run = 0; run < runs; ++run) {
        releaseFreeMemory();
        times.push_back(millisecondsOf(work));
    }
    std::sort(times.begin(), times.end());
    return times[times.size() / 2];
}

/// Median time of each of \a works in ms, measured by turns: what slows the machine down for a while slows
/// all of them, and their ratios stay right.
template<typename... Work>
std::array<double, sizeof...(Work)> mediansByTurns(int runs, Work&&... works) {
    std::array<std::vector<double>, sizeof...(Work)> times;
    for (int run = -1; run < runs; ++run) {
        std::size_t index = 0;
        const auto measure = [&](auto& work) {
            releaseFreeMemory();
            const double time = millisecondsOf(work);
            if (run >= 0) // the first turn warms up
                times[index].push_back(time);
            ++index;
        };
        (measure(works), ...);
    }
    std::array<double, sizeof...(Work)> medians{};
    for (std::size_t index = 0; index < times.size(); ++index) {
        std::sort(times[index].begin(), times[index].end());
        medians[index] = times[index][times[index].size() / 2];
    }
    return medians;
}

} // namespace teskal::bench
