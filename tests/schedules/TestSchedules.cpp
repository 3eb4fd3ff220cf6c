#include "LogCapture.h"
#include "Schedule.h"

#include <QTest>

using namespace teskal::test;

namespace {

constexpr int steps = 1000;
const char* const seedVariable = "TESKAL_SCHEDULE_SEED";
const char* const stepsVariable = "TESKAL_SCHEDULE_STEPS";

int stepsToDo() {
    const int wanted = qEnvironmentVariableIntValue(stepsVariable);
    return wanted > 0 ? wanted : steps;
}

} // namespace

/// Several chats answer while history and folders are exchanged, accounts change and the application is quit
/// and started: no task ever touches what is not its own. A seed and a number of steps can be given in the
/// environment.
class TestSchedules final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void nothingIsChangedByAnothersTask_data() {
        QTest::addColumn<quint32>("seed");
        const bool given = qEnvironmentVariableIsSet(seedVariable);
        const QList<quint32> seeds =
            given ? QList{quint32(qEnvironmentVariableIntValue(seedVariable))} : QList<quint32>{1, 2, 3, 4};
        for (const quint32 seed : seeds)
            QTest::addRow("seed %u", seed) << seed;
    }
    void nothingIsChangedByAnothersTask() {
        QFETCH(const quint32, seed);
        const LogCapture quiet; // failed exchanges are part of it
        Schedule schedule(seed);
        for (int step = 0; step < stepsToDo(); ++step)
            QVERIFY2(schedule.step(), qPrintable(schedule.report()));
        QVERIFY2(schedule.finish(), qPrintable(schedule.report()));
    }
};

QTEST_GUILESS_MAIN(TestSchedules)
#include "TestSchedules.moc"
