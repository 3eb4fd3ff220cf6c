#include "Columns.h"
#include "Completion.h"
#include "Pending.h"

#include <memory>
#include <string>

using namespace teskal::test;

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

class TestCompletion final : public QObject {
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
};

QTEST_GUILESS_MAIN(TestCompletion)
#include "TestCompletion.moc"
