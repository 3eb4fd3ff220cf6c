#include "Cancelled.h"
#include "Delay.h"
#include "ManualClock.h"
#include "Pending.h"
#include "SystemClock.h"

#include <QTest>

using namespace teskal::test;
using namespace std::chrono_literals;

class TestClock final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void stoppedDelayLeavesNoTimer() {
        ManualClock clock;
        auto pending = start([&](std::stop_token token) { return delay(clock, 4s, std::move(token)); });
        QCOMPARE(clock.pending(), 1U);
        pending.stop();
        QVERIFY(pending.error<Cancelled>());
        QCOMPARE(clock.pending(), 0U);
    }

    void systemTimerFiresOnceAndMayEndItself() {
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

    void destroyedAndDistantSystemTimersStaySilent() {
        SystemClock clock;
        bool wrong = false;
        bool right = false;
        auto stopped = clock.after(1ms, [&] { wrong = true; });
        // One millisecond more than 32 bits hold: it must not wrap around.
        const auto distant = clock.after(std::chrono::milliseconds((1LL << 32) + 1), [&] { wrong = true; });
        const auto kept = clock.after(10ms, [&] { right = true; });
        stopped.reset();
        QVERIFY(waitUntil([&] { return right; }));
        QVERIFY(!wrong);
    }
};

QTEST_GUILESS_MAIN(TestClock)
#include "TestClock.moc"
