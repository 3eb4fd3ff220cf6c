#include "TextThrottle.h"

#include "ManualClock.h"

#include <QRandomGenerator>
#include <QTest>

using namespace teskal;
using namespace std::chrono_literals;

namespace {

/// A growing text under a throttle, and when which length of it was delivered.
struct Watched {
    ManualClock clock;
    QString text;
    QList<std::pair<qint64, qsizetype>> deliveries;
    TextThrottle throttle{clock, text, [this](const QString& delivered) {
                              deliveries.append({clock.steadyMs(), delivered.size()});
                          }};

    void grow() {
        text.append(QLatin1Char('x'));
        throttle.update();
    }
};

using Deliveries = QList<std::pair<qint64, qsizetype>>;

} // namespace

/// The rest of the rule is seen in the chat call: the first text comes at once, the next waits.
class TestTextThrottle final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void flushDeliversOnceAndOutsideTheRule() {
        Watched watched;
        watched.throttle.flush();
        QVERIFY(watched.deliveries.isEmpty());
        watched.grow();
        watched.clock.advance(1ms);
        watched.grow();
        watched.throttle.flush();
        watched.throttle.flush();
        watched.clock.advance(1s);
        QCOMPARE(watched.deliveries, (Deliveries{{0, 1}, {1, 2}}));
    }

    void neverCloserThanTheInterval() {
        Watched watched;
        QRandomGenerator random(22);
        for (int step = 0; step < 2'000; ++step) {
            watched.clock.advance(std::chrono::milliseconds(random.bounded(12)));
            watched.grow();
        }
        watched.clock.advance(TextThrottle::interval);
        QCOMPARE(watched.deliveries.last().second, watched.text.size());
        for (qsizetype i = 1; i < watched.deliveries.size(); ++i)
            QVERIFY(watched.deliveries[i].first - watched.deliveries[i - 1].first >= 33);
        // Not slower than need be either: some text waits all the time.
        QVERIFY(watched.deliveries.size() > watched.clock.steadyMs() / 45);
    }
};

QTEST_GUILESS_MAIN(TestTextThrottle)
#include "TestTextThrottle.moc"
