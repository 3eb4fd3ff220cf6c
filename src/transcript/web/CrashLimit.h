#pragma once

#include <chrono>
#include <deque>

namespace teskal {

/// Counts how often the page's process ends, and says when loading the page again by itself is to cease.
class CrashLimit {
public:
    using Time = std::chrono::steady_clock::time_point;

    static constexpr std::size_t most = 3;
    static constexpr std::chrono::minutes within{1};

    /// The process ended at \a now. Returns whether it was the third time within a minute.
    bool count(Time now);
    void clear() { times_.clear(); }

private:
    std::deque<Time> times_;
};

} // namespace teskal
