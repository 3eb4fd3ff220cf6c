#include "Completion.h"
#include "Delay.h"
#include "ManualClock.h"
#include "Pending.h"

#include <QTest>

#include <csignal>
#include <cstdio>
#include <sys/wait.h>
#include <unistd.h>

using namespace teskal;
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
    const Mark mark(log, QStringLiteral("inner"));
    co_await completion.wait(token);
    log->append(QStringLiteral("inner went on"));
}

QCoro::Task<void> outerWait(Completion<void> completion, std::stop_token token, QStringList* log) {
    const Mark mark(log, QStringLiteral("outer"));
    auto inner = innerWait(std::move(completion), token, log);
    co_await inner;
    log->append(QStringLiteral("outer went on"));
}

QCoro::Task<void> failAfter(Completion<void> completion, std::stop_token token) {
    co_await completion.wait(token);
    throw std::domain_error("it broke");
}

QCoro::Task<void> passOn(Completion<void> completion, std::stop_token token) {
    auto failing = failAfter(std::move(completion), token);
    co_await failing;
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
        const Mark mark(log, QStringLiteral("unwound"));
        const auto completion = self->source_.completion();
        try {
            co_await completion.wait(token);
        } catch (const Cancelled&) {
            log->append(self->name_); // still alive while the scope ends
            throw;
        }
        log->append(QStringLiteral("went on"));
    }

    QString name_ = QStringLiteral("a name that lives on the heap");
    CompletionSource<void> source_;
    Scope scope_;
};

QCoro::Task<void> destroyOwnScope(std::unique_ptr<Scope>* scope, Completion<void> completion,
                                  std::stop_token token, QStringList* log) {
    const Mark mark(log, QStringLiteral("unwound"));
    scope->reset();
    log->append(QStringLiteral("still running"));
    co_await completion.wait(token);
    log->append(QStringLiteral("went on"));
}

QCoro::Task<void> cancelItself(Job* job, Completion<void> completion, std::stop_token token,
                               QStringList* log) {
    co_await completion.wait(token);
    job->cancel();
    log->append(QStringLiteral("still running"));
    CompletionSource<void> never;
    const auto forever = never.completion();
    co_await forever.wait(token);
    log->append(QStringLiteral("went on"));
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
        QCOMPARE(log, QStringList({QStringLiteral("went on"), QStringLiteral("unwound")}));
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
        QCOMPARE(log, QStringList{QStringLiteral("inner")});
    }

    void destroyedOwnerUnwindsBeforeItsMembers() {
        QStringList log;
        auto owner = std::make_unique<Owner>();
        owner->begin(&log);
        owner->finish(); // queued: the end comes first
        owner.reset();
        const QStringList expected{QStringLiteral("a name that lives on the heap"),
                                   QStringLiteral("unwound")};
        QCOMPARE(log, expected);
        runQueued();
        QCOMPARE(log, expected);
    }

    void nestedWaitsUnwindInsideOut() {
        QStringList log;
        CompletionSource<void> source;
        auto scope = std::make_unique<Scope>();
        scope->launch(
            [&](std::stop_token token) { return outerWait(source.completion(), std::move(token), &log); });
        QVERIFY(log.isEmpty());
        scope.reset();
        QCOMPARE(log, QStringList({QStringLiteral("inner"), QStringLiteral("outer")}));
    }

    void errorPassesTwoLevels() {
        CompletionSource<void> source;
        auto pending =
            start([&](std::stop_token token) { return passOn(source.completion(), std::move(token)); });
        source.succeed();
        QCOMPARE(pending.error<std::domain_error>().value().what(), "it broke");
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
        QCOMPARE(log, QStringList({QStringLiteral("still running"), QStringLiteral("unwound")}));
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
        QCOMPARE(log, QStringList{QStringLiteral("still running")});
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
        QCOMPARE(log, QStringList{QStringLiteral("inner")});
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
        QCOMPARE(log, QStringList{QStringLiteral("inner")});
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
