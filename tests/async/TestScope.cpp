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

QCoro::Task<void> innerWait(Completion<void> completion, std::stop_token token, QStringList* log) {
    const Mark mark(log, u"inner"_qs);
    co_await completion.wait(token);
    log->append(u"inner went on"_qs);
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

QCoro::Task<void> destroyOwnScope(std::unique_ptr<Scope>* scope, Completion<void> completion,
                                  std::stop_token token, QStringList* log) {
    const Mark mark(log, u"unwound"_qs);
    scope->reset();
    log->append(u"still running"_qs);
    co_await completion.wait(token);
    log->append(u"went on"_qs);
}

QCoro::Task<void> cancelItself(Job* job, Completion<void> completion, std::stop_token token,
                               QStringList* log) {
    co_await completion.wait(token);
    job->cancel();
    log->append(u"still running"_qs);
    CompletionSource<void> never;
    const auto forever = never.completion();
    co_await forever.wait(token);
    log->append(u"went on"_qs);
}

QCoro::Task<void> relaunchAtEnd(Scope* scope, Completion<void> completion, std::stop_token token,
                                QStringList* log) {
    try {
        co_await completion.wait(token);
    } catch (const Cancelled&) {
        scope->launch([=](std::stop_token inner) { return innerWait(completion, std::move(inner), log); });
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
        QStringList log;
        CompletionSource<void> source;
        Scope scope;
        const Job job = scope.launch(
            [&](std::stop_token token) { return innerWait(source.completion(), std::move(token), &log); });
        job.cancel();
        QVERIFY(job.isRunning());
        QVERIFY(log.isEmpty());
        runQueued();
        QVERIFY(!job.isRunning());
        QVERIFY(scope.isIdle());
        QCOMPARE(log, QStringList{u"inner"_qs});
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
        QStringList log;
        CompletionSource<void> source;
        auto scope = std::make_unique<Scope>();
        Scope* launching = scope.get();
        launching->launch([&](std::stop_token token) {
            return destroyOwnScope(&scope, source.completion(), std::move(token), &log);
        });
        QVERIFY(!scope);
        QCOMPARE(log, QStringList({u"still running"_qs, u"unwound"_qs}));
    }

    void coroutineMayCancelItself() {
        QStringList log;
        CompletionSource<void> source;
        Scope scope;
        Job job;
        job = scope.launch([&](std::stop_token token) {
            return cancelItself(&job, source.completion(), std::move(token), &log);
        });
        source.succeed();
        QVERIFY(waitUntil([&] { return !job.isRunning(); }));
        QCOMPARE(log, QStringList{u"still running"_qs});
    }

    void launchWhileTheScopeEndsIsStoppedToo() {
        QStringList log;
        CompletionSource<void> source;
        auto scope = std::make_unique<Scope>();
        Scope* ending = scope.get();
        scope->launch([&](std::stop_token token) {
            return relaunchAtEnd(ending, source.completion(), std::move(token), &log);
        });
        scope.reset();
        QCOMPARE(log, QStringList{u"inner"_qs});
    }

    void cancelAllLeavesTheScopeUsable() {
        QStringList log;
        CompletionSource<void> source;
        Scope scope;
        for (int i = 0; i < 3; ++i)
            scope.launch([&](std::stop_token token) {
                return innerWait(source.completion(), std::move(token), &log);
            });
        scope.cancelAll();
        QVERIFY(waitUntil([&] { return scope.isIdle(); }));
        QCOMPARE(log.size(), 3);
        const Job later = scope.launch(
            [&](std::stop_token token) { return innerWait(source.completion(), std::move(token), &log); });
        runQueued();
        QVERIFY(later.isRunning());
    }

    void handleOutlivesItsScope() {
        QStringList log;
        CompletionSource<void> source;
        Job job;
        {
            Scope scope;
            job = scope.launch([&](std::stop_token token) {
                return innerWait(source.completion(), std::move(token), &log);
            });
            job.cancel(); // queued, and overtaken by the scope's end
        }
        QVERIFY(!job.isRunning());
        job.cancel();
        runQueued();
        QCOMPARE(log, QStringList{u"inner"_qs});
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
