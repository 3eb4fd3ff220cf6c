#include "SerialWorker.h"
#include "WaitUntil.h"

#include <QTest>
#include <QThread>

#include <semaphore>

using namespace teskal::test;

class TestSerialWorker final : public QObject {
    Q_OBJECT
private Q_SLOTS:
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

QTEST_GUILESS_MAIN(TestSerialWorker)
#include "TestSerialWorker.moc"
