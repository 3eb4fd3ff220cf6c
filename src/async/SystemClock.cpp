#include "SystemClock.h"

#include <QDateTime>
#include <QTimer>

#include <algorithm>

namespace teskal {

namespace {

/// QTimer counts milliseconds in an int, which ends after 24 days; longer delays go in steps.
constexpr std::chrono::milliseconds longestStep = std::chrono::hours(24);

class QtTimer final : public ClockTimer {
public:
    QtTimer(std::chrono::milliseconds delay, std::function<void()> action)
        : left_(delay), action_(std::move(action)) {
        timer_.setSingleShot(true);
        timer_.setTimerType(delay < std::chrono::seconds(2) ? Qt::PreciseTimer : Qt::CoarseTimer);
        QObject::connect(&timer_, &QTimer::timeout, &timer_, [this] { onTimeout(); });
        startStep();
    }

private:
    void startStep() {
        const auto step = std::clamp(left_, std::chrono::milliseconds(0), longestStep);
        left_ -= step;
        timer_.start(step);
    }

    void onTimeout() {
        if (left_ > std::chrono::milliseconds(0)) {
            startStep();
            return;
        }
        const auto action = std::move(action_); // it may destroy this timer
        action();
    }

    std::chrono::milliseconds left_;
    std::function<void()> action_;
    QTimer timer_;
};

} // namespace

SystemClock::SystemClock() {
    steady_.start();
}

double SystemClock::nowMs() const {
    return static_cast<double>(QDateTime::currentMSecsSinceEpoch());
}

qint64 SystemClock::steadyMs() const {
    return steady_.elapsed();
}

std::unique_ptr<ClockTimer> SystemClock::after(std::chrono::milliseconds delay,
                                               std::function<void()> action) {
    return std::make_unique<QtTimer>(delay, std::move(action));
}

} // namespace teskal
