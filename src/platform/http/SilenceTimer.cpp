#include "SilenceTimer.h"

namespace teskal {

SilenceTimer::SilenceTimer(Clock& clock, std::chrono::milliseconds limit, std::function<void()> onSilence)
    : clock_(clock), limit_(limit), onSilence_(std::move(onSilence)) {}

void SilenceTimer::start() {
    moved();
    arm(limit_);
}

void SilenceTimer::arm(std::chrono::milliseconds delay) {
    timer_ = clock_.after(delay, [this] { check(); });
}

void SilenceTimer::check() {
    const std::chrono::milliseconds silent(clock_.steadyMs() - lastMoveMs_);
    if (silent < limit_) {
        arm(limit_ - silent);
        return;
    }
    timer_.reset();
    onSilence_();
}

} // namespace teskal
