#pragma once

#include "Clock.h"

#include <QElapsedTimer>

namespace teskal {

/// The machine's clock and Qt's timers.
class SystemClock final : public Clock {
public:
    SystemClock();

    double nowMs() const override;
    qint64 steadyMs() const override;
    std::unique_ptr<ClockTimer> after(std::chrono::milliseconds delay, std::function<void()> action) override;

private:
    QElapsedTimer steady_;
};

} // namespace teskal
