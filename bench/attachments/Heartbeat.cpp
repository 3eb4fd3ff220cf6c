#include "Heartbeat.h"

#include <QEventLoop>
#include <QTimer>

#include <algorithm>
#include <ctime>

namespace teskal::bench {

namespace {

double milliseconds(clockid_t clock) {
    timespec time{};
    clock_gettime(clock, &time);
    return double(time.tv_sec) * 1e3 + double(time.tv_nsec) / 1e6;
}

} // namespace

Delay longestDelay(const std::function<void()>& begin, const std::function<bool()>& isOver) {
    constexpr double interval = 1; // ms
    QEventLoop loop;
    QTimer timer;
    timer.setTimerType(Qt::PreciseTimer);
    Delay longest;
    double lastBeat = milliseconds(CLOCK_MONOTONIC), lastWork = milliseconds(CLOCK_THREAD_CPUTIME_ID);
    QObject::connect(&timer, &QTimer::timeout, &loop, [&] {
        const double beat = milliseconds(CLOCK_MONOTONIC), work = milliseconds(CLOCK_THREAD_CPUTIME_ID);
        longest.late = std::max(longest.late, beat - lastBeat - interval);
        longest.busy = std::max(longest.busy, work - lastWork);
        lastBeat = beat;
        lastWork = work;
        if (isOver())
            loop.quit();
    });
    timer.start(int(interval));
    begin();
    loop.exec();
    return longest;
}

} // namespace teskal::bench
