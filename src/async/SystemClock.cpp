#include "SystemClock.h"

#include <QDateTime>
#include <QTimer>

namespace teskal {

namespace {

class QtTimer final : public ClockTimer {
public:
    QtTimer(std::chrono::milliseconds delay, std::function<void()> action) {
        timer_.setSingleShot(true);
        timer_.setTimerType(delay < std::chrono::seconds(2) ? Qt::PreciseTimer : Qt::CoarseTimer);
        // The action may destroy this timer, so it is called from a copy.
        QObject::connect(&timer_, &QTimer::timeout, &timer_, [action = std::move(action)] {
            const auto call = action;
            call();
        });
        timer_.start(delay);
    }

private:
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

std::unique_ptr<ClockTimer> SystemClock::after(std::chrono::milliseconds delay, std::function<void()> action) {
    return std::make_unique<QtTimer>(delay, std::move(action));
}

} // namespace teskal
