#pragma once

#include <chrono>
#include <cstdint>
#include <optional>

namespace teskal::service {

/// The one clock of the service. It follows the system's unless it was set.
class ServiceClock {
public:
    using TimePoint = std::chrono::system_clock::time_point;

    TimePoint now() const { return still_ ? *still_ : std::chrono::system_clock::now() + offset_; }
    /// Whole milliseconds since 1970.
    std::int64_t nowMs() const {
        return std::chrono::duration_cast<std::chrono::milliseconds>(now().time_since_epoch()).count();
    }

    /// Stands still at `ms` since 1970 until it is set again.
    void stopAt(std::chrono::milliseconds ms) { still_ = TimePoint(ms); }
    /// Runs with the system's clock, `offset` ahead of it.
    void runWithOffset(std::chrono::milliseconds offset) {
        still_.reset();
        offset_ = offset;
    }

private:
    std::optional<TimePoint> still_;
    std::chrono::milliseconds offset_{0};
};

} // namespace teskal::service
