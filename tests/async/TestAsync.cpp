#include "Cancelled.h"
#include "Columns.h"
#include "Completion.h"
#include "Delay.h"
#include "ManualClock.h"
#include "Pending.h"
#include "SerialWorker.h"
#include "SystemClock.h"
#include "WaitUntil.h"

#include <QThread>

#include <semaphore>
#include <string>

using namespace teskal::test;
using namespace std::chrono_literals;

namespace {

template<typename T>
QCoro::Task<T> waitOn(Completion<T> completion, std::stop_token token) {
    co_return co_await completion.wait(token);
}

/// A wait that a test follows; its own stop token is the one that start() gives.
template<typename T>
auto waiting(const Completion<T>& completion) {
    return start([completion](std::stop_token token) { return waitOn(completion, std::move(token)); });
}

QCoro::Task<void> destroyWhenDone(Completion<int> completion, std::stop_token token,
                                  std::unique_ptr<Pending<int>>* victim) {
    co_await completion.wait(token);
    victim->reset();
}

} // namespace

/// Completions, timers and the worker of one thing after the other.
class TestAsync final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void everyWaiterButAStoppedOneGetsTheOutcomeFromTheEventLoop() {
        CompletionSource<int> source;
        auto first = waiting(source.completion());
        auto second = waiting(source.completion());
        auto third = waiting(source.completion());
        second.stop();
        QVERIFY(second.error<Cancelled>());
        QVERIFY(!first.isDone() && !third.isDone());
        source.succeed(7);
        QVERIFY(!first.isDone() && !third.isDone());
        runQueued();
        QVERIFY(first.isDone() && third.isDone());
        QCOMPARE(first.result(), 7);
        QCOMPARE(third.result(), 7);
    }

    void onlyTheFirstOutcomeCounts() {
        CompletionSource<int> source;
        auto before = waiting(source.completion());
        source.succeed(1);
        source.succeed(2);
        source.failWith(std::domain_error("late"));
        auto after = waiting(source.completion());
        QVERIFY(after.isDone()); // what is there needs no event loop
        QCOMPARE(before.result(), 1);
        QCOMPARE(after.result(), 1);
    }

    void stoppedWaitIsCancelledEvenWithAnOutcome_data() {
        rows<bool>("outcomeFirst", {{"nothing there", false}, {"outcome there", true}});
    }
    void stoppedWaitIsCancelledEvenWithAnOutcome() {
        QFETCH(const bool, outcomeFirst);
        CompletionSource<int> source;
        if (outcomeFirst)
            source.succeed(1);
        std::stop_source stop;
        stop.request_stop();
        auto pending = start([&](std::stop_token) { return waitOn(source.completion(), stop.get_token()); });
        QVERIFY(pending.isDone());
        QVERIFY(pending.error<Cancelled>());
    }

    void sourceThatDiesCancels() {
        auto source = std::make_unique<CompletionSource<int>>();
        const auto completion = source->completion();
        auto pending = waiting(completion);
        source.reset();
        QVERIFY(pending.error<Cancelled>());
        QVERIFY(waiting(completion).error<Cancelled>());
    }

    void replacedSourceCancelsTheOldWaiters() {
        CompletionSource<int> source;
        auto old = waiting(source.completion());
        source = CompletionSource<int>();
        auto fresh = waiting(source.completion());
        source.succeed(4);
        QVERIFY(old.error<Cancelled>());
        QCOMPARE(fresh.result(), 4);
    }

    void queuedOutcomeReachesNoDestroyedWaiter() {
        CompletionSource<int> source;
        auto pending = waiting(source.completion());
        source.succeed(5);
        pending.destroyScope();
        QVERIFY(pending.isDone());
        runQueued();
        QVERIFY(pending.error<Cancelled>());
    }

    void resumedWaiterMayDestroyAnother() {
        CompletionSource<int> source;
        std::unique_ptr<Pending<int>> victim;
        auto killer = start([&](std::stop_token token) {
            return destroyWhenDone(source.completion(), std::move(token), &victim);
        });
        victim = std::make_unique<Pending<int>>(waiting(source.completion()));
        auto last = waiting(source.completion());
        source.succeed(6);
        killer.result();
        QVERIFY(!victim);
        QCOMPARE(last.result(), 6);
    }

    void valueThatCannotBeCopiedIsMovedOut() {
        CompletionSource<std::unique_ptr<std::string>> source;
        auto pending = waiting(source.completion());
        source.succeed(std::make_unique<std::string>("mine"));
        QCOMPARE(*pending.result(), std::string("mine"));
    }

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

    void runsElsewhereInOrderAndReportsHere() {
        SerialWorker worker;
        QStringList ran; // by one thread after the other, never by two at once
        QStringList reported;
        for (const QString& name : {u"a"_qs, u"b"_qs, u"c"_qs})
            worker.run(
                [&, name] { ran.append(QThread::currentThread() != qApp->thread() ? name : u"here"_qs); },
                [&, name] {
                    reported.append(QThread::currentThread() == qApp->thread() ? name : u"elsewhere"_qs);
                });
        QVERIFY(reported.isEmpty());
        QVERIFY(waitUntil([&] { return worker.isIdle(); }));
        QCOMPARE(ran, QStringList({u"a"_qs, u"b"_qs, u"c"_qs}));
        QCOMPARE(reported, ran);
    }

    void finishReportsAtOnceAndOnlyOnce() {
        SerialWorker worker;
        std::binary_semaphore mayEnd(0);
        int reports = 0;
        worker.run([&] { mayEnd.acquire(); }, [&] { ++reports; });
        worker.run([] {}, [&] { ++reports; });
        QVERIFY(!worker.isIdle());
        mayEnd.release();
        worker.finish();
        QVERIFY(worker.isIdle());
        QCOMPARE(reports, 2);
        runQueued();
        QCOMPARE(reports, 2);
    }

    void doneMayGiveMoreWorkOrEndTheWorker() {
        auto worker = std::make_unique<SerialWorker>();
        int rounds = 0;
        worker->run([] {},
                    [&] {
                        worker->run([&] { ++rounds; }, [&] { worker.reset(); });
                        worker->run([&] { ++rounds; }, [&] { QFAIL("the worker is gone"); });
                    });
        worker->finish();
        QVERIFY(!worker);
        QCOMPARE(rounds, 2);
    }

    void destructionWaitsAndReportsNothing() {
        std::atomic<bool> ran = false;
        bool reported = false;
        {
            SerialWorker worker;
            worker.run([&] { ran = true; }, [&] { reported = true; });
        }
        QVERIFY(ran);
        runQueued();
        QVERIFY(!reported);
    }
};

QTEST_GUILESS_MAIN(TestAsync)
#include "TestAsync.moc"
