#include "ManualClock.h"
#include "TextThrottle.h"

#include <QRandomGenerator>
#include <QTest>

using namespace teskal;

/// That the end is told outside of the rule is seen in the chat call.
class TestTextThrottle final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void neverCloserThanTheInterval() {
        ManualClock clock;
        QString text;
        QList<std::pair<qint64, qsizetype>> deliveries; // when, and which length
        TextThrottle throttle(clock, text, [&](const QString& delivered) {
            deliveries.append({clock.steadyMs(), delivered.size()});
        });
        QRandomGenerator random(22);
        for (int step = 0; step < 2'000; ++step) {
            clock.advance(std::chrono::milliseconds(random.bounded(12)));
            text.append(u'x');
            throttle.update();
        }
        clock.advance(TextThrottle::interval);
        QCOMPARE(deliveries.last().second, text.size());
        for (qsizetype i = 1; i < deliveries.size(); ++i)
            QVERIFY(deliveries[i].first - deliveries[i - 1].first >= 33);
        // Not slower than need be either: some text waits all the time.
        QVERIFY(deliveries.size() > clock.steadyMs() / 45);
    }
};

QTEST_GUILESS_MAIN(TestTextThrottle)
#include "TestTextThrottle.moc"
