#pragma once

#include "Clock.h"

#include <functional>
#include <memory>

namespace teskal {

/// Notices that nothing moved for a while. Runs only between start() and stop(), because a reader that
/// takes its time must not end the reply that it has not read yet.
class SilenceTimer {
public:
    /// \a onSilence is called once per start(), when \a limit passed without start() or moved().
    SilenceTimer(Clock& clock, std::chrono::milliseconds limit, std::function<void()> onSilence);

    void start();
    void stop() { timer_.reset(); }
    /// Something moved: the wait begins anew. Costs no timer.
    void moved() { lastMoveMs_ = clock_.steadyMs(); }

private:
    void arm(std::chrono::milliseconds delay);
    void check();

    Clock& clock_;
    std::chrono::milliseconds limit_;
    std::function<void()> onSilence_;
    std::unique_ptr<ClockTimer> timer_;
    qint64 lastMoveMs_ = 0;
};

} // namespace teskal
