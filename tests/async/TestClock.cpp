#include "Cancelled.h"
#include "Delay.h"
#include "ManualClock.h"
#include "Pending.h"
#include "SystemClock.h"

#include <QTest>

using namespace teskal;
using namespace teskal::test;
using namespace std::chrono_literals;

class TestClock final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void manualClockFiresInOrderOfTime();
    void manualClockReachesTimersSetByActions();
    void manualTimerMayEndItselfAndOthers();
    void delayEndsWhenItsTimeHasPassed();
    void stoppedDelayLeavesNoTimer();
    void systemTimerFiresOnceAndMayEndItself();
    void destroyedSystemTimerStaysSilent();
    void longSystemTimerDoesNotWrapAround();
};

void TestClock::manualClockFiresInOrderOfTime() {
    ManualClock clock(1'000.0);
    QList<double> times;
    const auto note = [&] { times.append(clock.nowMs()); };
    const auto late = clock.after(24h * 30, note);
    const auto soon = clock.after(4s, note);
    const auto middle = clock.after(25min, note);
    QCOMPARE(clock.untilNext(), 4s);
    clock.advance(24h * 30 - 1ms);
    QCOMPARE(times, QList<double>({5'000.0, 1'501'000.0}));
    clock.advance(1ms);
    QCOMPARE(times.size(), 3);
    QCOMPARE(times.last(), 1'000.0 + 30 * 86'400'000.0);
    QCOMPARE(clock.steadyMs(), 30 * 86'400'000LL);
    QCOMPARE(clock.pending(), 0U);
    QVERIFY(clock.untilNext() < 0ms);
}

void TestClock::manualClockReachesTimersSetByActions() {
    ManualClock clock;
    QList<qint64> times;
    std::unique_ptr<ClockTimer> timer;
    std::function<void()> again = [&] {
        times.append(clock.steadyMs());
        if (times.size() < 3)
            timer = clock.after(10ms, again);
    };
    timer = clock.after(10ms, again);
    clock.advance(25ms);
    QCOMPARE(times, QList<qint64>({10, 20}));
    clock.advance(5ms);
    QCOMPARE(times, QList<qint64>({10, 20, 30}));
}

void TestClock::manualTimerMayEndItselfAndOthers() {
    ManualClock clock;
    int calls = 0;
    std::unique_ptr<ClockTimer> first;
    std::unique_ptr<ClockTimer> second;
    first = clock.after(1ms, [&] {
        ++calls;
        first.reset();
        second.reset();
    });
    second = clock.after(1ms, [&] { ++calls; });
    clock.advance(1s);
    QCOMPARE(calls, 1);
    QCOMPARE(clock.pending(), 0U);
}

void TestClock::delayEndsWhenItsTimeHasPassed() {
    ManualClock clock;
    auto pending = start([&](std::stop_token token) { return delay(clock, 4s, std::move(token)); });
    clock.advance(4s - 1ms);
    runQueued();
    QVERIFY(!pending.isDone());
    clock.advance(1ms);
    pending.result();
    QCOMPARE(clock.pending(), 0U);
}

void TestClock::stoppedDelayLeavesNoTimer() {
    ManualClock clock;
    auto pending = start([&](std::stop_token token) { return delay(clock, 4s, std::move(token)); });
    QCOMPARE(clock.pending(), 1U);
    pending.stop();
    QVERIFY(pending.error<Cancelled>());
    QCOMPARE(clock.pending(), 0U);
}

void TestClock::systemTimerFiresOnceAndMayEndItself() {
    SystemClock clock;
    int calls = 0;
    std::unique_ptr<ClockTimer> timer;
    QByteArray text("captured");
    timer = clock.after(1ms, [&timer, &calls, text] {
        timer.reset();
        calls += text == "captured" ? 1 : 100; // what the action captured outlives the timer
    });
    QVERIFY(waitUntil([&] { return calls > 0; }));
    QCOMPARE(calls, 1);
}

void TestClock::destroyedSystemTimerStaysSilent() {
    SystemClock clock;
    bool wrong = false;
    bool right = false;
    auto stopped = clock.after(1ms, [&] { wrong = true; });
    const auto kept = clock.after(3ms, [&] { right = true; });
    stopped.reset();
    QVERIFY(waitUntil([&] { return right; }));
    QVERIFY(!wrong);
}

void TestClock::longSystemTimerDoesNotWrapAround() {
    SystemClock clock;
    bool wrong = false;
    bool right = false;
    // One millisecond more than 32 bits hold.
    const auto distant = clock.after(std::chrono::milliseconds((1LL << 32) + 1), [&] { wrong = true; });
    const auto near = clock.after(10ms, [&] { right = true; });
    QVERIFY(waitUntil([&] { return right; }));
    QVERIFY(!wrong);
}

QTEST_GUILESS_MAIN(TestClock)
#include "TestClock.moc"
