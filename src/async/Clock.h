#pragma once

#include <QtGlobal>

#include <chrono>
#include <functional>
#include <memory>

namespace teskal {

/// A running one-shot timer; destroying it stops it.
class ClockTimer {
public:
    virtual ~ClockTimer() = default;
};

/// Time as the application sees it, so that tests can drive days and milliseconds by hand.
/// Main thread only.
class Clock {
public:
    virtual ~Clock() = default;

    /// Milliseconds since 1970-01-01 UTC, rounded to a whole number.
    virtual double nowMs() const = 0;
    /// Milliseconds of a clock that never goes back and has no defined beginning.
    virtual qint64 steadyMs() const = 0;
    /// Calls \a action once, from the event loop, after \a delay. The action may destroy the timer.
    [[nodiscard]] virtual std::unique_ptr<ClockTimer> after(std::chrono::milliseconds delay,
                                                            std::function<void()> action) = 0;
};

} // namespace teskal
