#include "Completion.h"
#include "Delay.h"
#include "ManualClock.h"
#include "Pending.h"

#include <QTest>

#include <csignal>
#include <cstdio>
#include <sys/wait.h>
#include <unistd.h>

using namespace teskal::test;
using namespace std::chrono_literals;

namespace {

/// What a test looks at, and the wait that its coroutines are in.
struct Bench {
    QStringList log;
    CompletionSource<void> source;
    std::unique_ptr<Scope> scope = std::make_unique<Scope>();
    Job job;

    Job launch(QCoro::Task<void> (*body)(Bench*, std::stop_token)) {
        return scope->launch([this, body](std::stop_token token) { return body(this, std::move(token)); });
    }
};

/// Writes down that a frame went away, into a log that its owner holds.
class Mark {
public:
    Mark(QStringList* log, QString text) : log_(log), text_(std::move(text)) {}
    ~Mark() { log_->append(text_); }
    Mark(const Mark&) = delete;
    Mark& operator=(const Mark&) = delete;

private:
    QStringList* log_;
    QString text_;
};

QCoro::Task<void> innerWait(Bench* bench, std::stop_token token) {
    const Mark mark(&bench->log, u"inner"_qs);
    const auto completion = bench->source.completion();
    co_await completion.wait(token);
    bench->log.append(u"inner went on"_qs);
}

/// What most classes of the application look like: data, a source that others feed, a scope at the end.
class Owner {
public:
    void begin(QStringList* log) {
        scope_.launch([this, log](std::stop_token token) { return work(this, log, std::move(token)); });
    }
    void finish() { source_.succeed(); }
    bool isIdle() const { return scope_.isIdle(); }

private:
    static QCoro::Task<void> work(Owner* self, QStringList* log, std::stop_token token) {
        const Mark mark(log, u"unwound"_qs);
        const auto completion = self->source_.completion();
        try {
            co_await completion.wait(token);
        } catch (const Cancelled&) {
            log->append(self->name_); // still alive while the scope ends
            throw;
        }
        log->append(u"went on"_qs);
    }

    QString name_ = u"a name that lives on the heap"_qs;
    CompletionSource<void> source_;
    Scope scope_;
};

QCoro::Task<void> destroyOwnScope(Bench* bench, std::stop_token token) {
    const Mark mark(&bench->log, u"unwound"_qs);
    const auto completion = bench->source.completion();
    bench->scope.reset();
    bench->log.append(u"still running"_qs);
    co_await completion.wait(token);
    bench->log.append(u"went on"_qs);
}

QCoro::Task<void> cancelItself(Bench* bench, std::stop_token token) {
    const auto completion = bench->source.completion();
    co_await completion.wait(token);
    bench->job.cancel();
    bench->log.append(u"still running"_qs);
    CompletionSource<void> never;
    const auto forever = never.completion();
    co_await forever.wait(token);
    bench->log.append(u"went on"_qs);
}

QCoro::Task<void> relaunchAtEnd(Bench* bench, std::stop_token token) {
    Scope* ending = bench->scope.get();
    const auto completion = bench->source.completion();
    try {
        co_await completion.wait(token);
    } catch (const Cancelled&) {
        ending->launch([bench](std::stop_token inner) { return innerWait(bench, std::move(inner)); });
    }
}

QCoro::Task<void> failAtOnce() {
    throw std::runtime_error("nobody catches this");
    co_return;
}

} // namespace

class TestScope final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void bodyRunsToItsFirstWaitAtOnce() {
        QStringList log;
        Owner owner;
        owner.begin(&log);
        QVERIFY(!owner.isIdle());
        owner.finish();
        QVERIFY(waitUntil([&] { return owner.isIdle(); }));
        QCOMPARE(log, QStringList({u"went on"_qs, u"unwound"_qs}));
    }

    void cancelEndsTheWaitFromTheEventLoop() {
        Bench bench;
        const Job job = bench.launch(innerWait);
        job.cancel();
        QVERIFY(job.isRunning());
        QVERIFY(bench.log.isEmpty());
        runQueued();
        QVERIFY(!job.isRunning());
        QVERIFY(bench.scope->isIdle());
        QCOMPARE(bench.log, QStringList{u"inner"_qs});
    }

    void destroyedOwnerUnwindsBeforeItsMembers() {
        QStringList log;
        auto owner = std::make_unique<Owner>();
        owner->begin(&log);
        owner->finish(); // queued: the end comes first
        owner.reset();
        const QStringList expected{u"a name that lives on the heap"_qs, u"unwound"_qs};
        QCOMPARE(log, expected);
        runQueued();
        QCOMPARE(log, expected);
    }

    void coroutineMayDestroyItsScope() {
        Bench bench;
        bench.launch(destroyOwnScope);
        QVERIFY(!bench.scope);
        QCOMPARE(bench.log, QStringList({u"still running"_qs, u"unwound"_qs}));
    }

    void coroutineMayCancelItself() {
        Bench bench;
        bench.job = bench.launch(cancelItself);
        bench.source.succeed();
        QVERIFY(waitUntil([&] { return !bench.job.isRunning(); }));
        QCOMPARE(bench.log, QStringList{u"still running"_qs});
    }

    void launchWhileTheScopeEndsIsStoppedToo() {
        Bench bench;
        bench.launch(relaunchAtEnd);
        bench.scope.reset();
        QCOMPARE(bench.log, QStringList{u"inner"_qs});
    }

    void cancelAllLeavesTheScopeUsable() {
        Bench bench;
        for (int i = 0; i < 3; ++i)
            bench.launch(innerWait);
        bench.scope->cancelAll();
        QVERIFY(waitUntil([&] { return bench.scope->isIdle(); }));
        QCOMPARE(bench.log.size(), 3);
        const Job later = bench.launch(innerWait);
        runQueued();
        QVERIFY(later.isRunning());
    }

    void handleOutlivesItsScope() {
        Bench bench;
        const Job job = bench.launch(innerWait);
        job.cancel(); // queued, and overtaken by the scope's end
        bench.scope.reset();
        QVERIFY(!job.isRunning());
        job.cancel();
        runQueued();
        QCOMPARE(bench.log, QStringList{u"inner"_qs});
    }

    void escapedErrorEndsTheProcessWithItsText() {
        int errors[2];
        QCOMPARE(pipe(errors), 0);
        const pid_t child = fork();
        if (child == 0) {
            std::signal(SIGABRT, SIG_DFL); // the test library catches it to print a trace
            dup2(errors[1], STDERR_FILENO);
            Scope scope;
            scope.launch([](std::stop_token) { return failAtOnce(); });
            _exit(0);
        }
        ::close(errors[1]);
        QByteArray text(4096, '\0');
        const auto size = ::read(errors[0], text.data(), static_cast<std::size_t>(text.size()));
        ::close(errors[0]);
        int status = 0;
        QCOMPARE(waitpid(child, &status, 0), child);
        QVERIFY(WIFSIGNALED(status) && WTERMSIG(status) == SIGABRT);
        QVERIFY(text.left(size).contains("nobody catches this"));
    }
};

QTEST_GUILESS_MAIN(TestScope)
#include "TestScope.moc"
