#pragma once

#include "ManualClock.h"

#include <QScopedValueRollback>

namespace teskal::test {

/// A clock that is driven by hand and knows of the pauses between two questions about a job.
class PauseClock final : public Clock {
public:
    static constexpr std::chrono::seconds pause{4};

    double nowMs() const override { return clock_.nowMs(); }
    qint64 steadyMs() const override { return clock_.steadyMs(); }
    std::unique_ptr<ClockTimer> after(std::chrono::milliseconds delay,
                                      std::function<void()> action) override {
        auto timer = clock_.after(delay, std::move(action));
        // Work goes on from the event loop: what begins while the clock moves is the rest of another wait.
        if (delay != pause || isMoving_)
            return timer;
        ++begun;
        return std::make_unique<Pause>(std::move(timer), running);
    }
    void advance(std::chrono::milliseconds by) {
        const QScopedValueRollback moving(isMoving_, true);
        clock_.advance(by);
    }

    int begun = 0;
    int running = 0;

private:
    struct Pause final : ClockTimer {
        Pause(std::unique_ptr<ClockTimer> inner, int& count) : timer(std::move(inner)), running(count) {
            ++running;
        }
        ~Pause() override { --running; }
        std::unique_ptr<ClockTimer> timer;
        int& running;
    };

    ManualClock clock_;
    bool isMoving_ = false;
};

} // namespace teskal::test
