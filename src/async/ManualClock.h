#pragma once

#include "Clock.h"

#include <list>

namespace teskal {

/// A clock that stands still until it is told to move. Due actions run inside advance(), in the order
/// of their times. The clock must outlive its timers.
class ManualClock final : public Clock {
public:
    explicit ManualClock(double startMs = 1'800'000'000'000.0) : now_(startMs) {}
    ~ManualClock() override;

    double nowMs() const override { return now_; }
    qint64 steadyMs() const override { return steady_; }
    std::unique_ptr<ClockTimer> after(std::chrono::milliseconds delay, std::function<void()> action) override;

    void advance(std::chrono::milliseconds by);
    /// Number of timers that still wait.
    std::size_t pending() const { return entries_.size(); }
    /// Time until the next timer is due; negative when there is none.
    std::chrono::milliseconds untilNext() const;

private:
    struct Entry {
        qint64 dueMs;
        std::function<void()> action;
    };
    using Entries = std::list<std::shared_ptr<Entry>>;
    class ManualTimer;

    Entries::const_iterator earliest() const;

    Entries entries_;
    double now_;
    qint64 steady_ = 0;
};

} // namespace teskal
