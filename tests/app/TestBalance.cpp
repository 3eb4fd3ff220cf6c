#include "World.h"

#include <QTest>

using namespace teskal;
using namespace teskal::test;

namespace {

const QString billingPath = QStringLiteral("/api/billing");

QJsonObject reply(int status, const QJsonObject& json) {
    return {{QStringLiteral("path"), billingPath},
            {QStringLiteral("status"), status},
            {QStringLiteral("json"), json}};
}

QJsonObject billing(int balance) {
    return {{QStringLiteral("enabled"), true}, {QStringLiteral("balance"), balance}};
}

/// And waits for what is asked at every sign-in.
void signIn(World& world) {
    world.signIn();
    if (!waitUntil([&] { return world.model().balance().billing().has_value(); }))
        qFatal("no balance comes");
}

bool refresh(World& world) {
    world.model().refreshBalance(true);
    return waitUntil([&] { return !world.model().balance().isRefreshing(); });
}

qint64 balanceOf(World& world) {
    const auto& known = world.model().balance().billing();
    return known ? known->balance.value_or(-1) : -2;
}

} // namespace

/// The balance and the purchases of whoever is signed in, and of nobody else.
class TestBalance final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void refreshing();
    void failures();
    void newestRefreshCounts();
    void buying();
    void buyingFails_data();
    void buyingFails();
    void closedSheetOpensNoBrowser();
    void accountGoes_data();
    void accountGoes();
    void quitWhileWaiting();
};

void TestBalance::refreshing() {
    World world;
    world.model().refreshBalance(true);
    QVERIFY(!world.model().balance().isRefreshing());
    QCOMPARE(world.control.requests(billingPath).size(), 0);
    signIn(world);
    const auto queryOfLast = [&] {
        return world.control.lastRequest(billingPath)[QLatin1String("query")].toObject().keys();
    };
    QCOMPARE(queryOfLast(), QStringList());
    QVERIFY(refresh(world));
    const auto& known = world.model().balance().billing();
    QVERIFY(known && known->enabled && known->balance.value() > 0);
    QCOMPARE(known->creditUsd.value(), 0.01);
    QCOMPARE(queryOfLast(), QStringList{QStringLiteral("fresh")});
    QVERIFY(world.waitForEnd(world.send(QStringLiteral("Hello")))); // which has cost something
    QVERIFY(world.control.wait(billingPath, QStringLiteral("finished"), 3));
    QCOMPARE(queryOfLast(), QStringList{QStringLiteral("fresh")});
}

void TestBalance::failures() {
    World world;
    signIn(world);
    const qint64 before = balanceOf(world);
    world.control.next(reply(500, {{QStringLiteral("error"), QStringLiteral("Not today.")}}));
    QVERIFY(refresh(world));
    QCOMPARE(balanceOf(world), before);
    QCOMPARE(world.model().balance().error(), QStringLiteral("Not today."));
    QVERIFY(refresh(world));
    QCOMPARE(world.model().balance().error(), QString());
}

void TestBalance::newestRefreshCounts() {
    World world;
    signIn(world);
    world.control.next(reply(200, billing(1)));
    world.control.hold(billingPath);
    world.model().refreshBalance(true);
    QVERIFY(world.control.wait(billingPath, QStringLiteral("held")));
    world.model().refreshBalance(false); // what is asked already is fresher
    world.model().refreshBalance(true);
    world.control.releaseAll();
    QVERIFY(waitUntil([&] { return !world.model().balance().isRefreshing(); }));
    QVERIFY(world.control.wait(billingPath, QStringLiteral("finished"), 3));
    QCOMPARE(world.control.requests(billingPath).size(), 3);
    QVERIFY(balanceOf(world) > 1);
}

void TestBalance::buying() {
    World world;
    signIn(world);
    world.model().setSheet(Sheet::Credits);
    QVERIFY(refresh(world));
    world.control.hold(billingPath);
    world.model().buyCredits(2500);
    QVERIFY(world.model().balance().purchase() == Balance::Purchase::Opening);
    QVERIFY(world.control.wait(billingPath, QStringLiteral("held")));
    world.model().buyCredits(500); // one at a time
    world.control.releaseAll();
    QVERIFY(waitUntil([&] { return !world.openedLinks.isEmpty(); }));
    QVERIFY(world.model().balance().purchase() == Balance::Purchase::Opened);
    QCOMPARE(world.control.lastRequest(billingPath)[QLatin1String("json")].toObject(),
             (QJsonObject{{QStringLiteral("credits"), 2500},
                          {QStringLiteral("returnTo"), QStringLiteral("/chat")}}));
    QCOMPARE(world.openedLinks.size(), 1);
    QVERIFY(world.openedLinks.first().startsWith(world.service->origin().toString() +
                                                 QLatin1String("/checkout?session=")));
    QVERIFY(refresh(world));
    QVERIFY2(world.model().balance().purchase() == Balance::Purchase::Opened, "not paid yet");
    world.control.next(reply(200, billing(9999)));
    QVERIFY(refresh(world));
    QVERIFY(world.model().balance().purchase() == Balance::Purchase::None);
}

void TestBalance::buyingFails_data() {
    QTest::addColumn<QJsonObject>("failure");
    QTest::addColumn<QString>("error");
    const QString noPage = QStringLiteral("Could not start checkout.");
    QTest::newRow("refused") << reply(403, {{QStringLiteral("error"), QStringLiteral("Not for you.")}})
                             << QStringLiteral("Not for you.");
    QTest::newRow("no page") << reply(200, {}) << noPage;
    QTest::newRow("not a web page") << reply(200,
                                             {{QStringLiteral("url"), QStringLiteral("file:///etc/passwd")}})
                                    << noPage;
}

void TestBalance::buyingFails() {
    QFETCH(const QJsonObject, failure);
    World world;
    signIn(world);
    world.model().setSheet(Sheet::Credits);
    world.control.next(failure);
    world.model().buyCredits(500);
    QVERIFY(waitUntil([&] { return world.model().balance().purchase() == Balance::Purchase::None; }));
    QTEST(world.model().balance().error(), "error");
    QVERIFY(world.openedLinks.isEmpty());
    world.model().setSheet(std::nullopt);
    QCOMPARE(world.model().balance().error(), QString());
}

void TestBalance::closedSheetOpensNoBrowser() {
    World world;
    signIn(world);
    world.model().setSheet(Sheet::Credits);
    world.control.hold(billingPath);
    world.model().buyCredits(500);
    QVERIFY(world.control.wait(billingPath, QStringLiteral("held")));
    world.model().setSheet(std::nullopt);
    QVERIFY(world.model().balance().purchase() == Balance::Purchase::None);
    world.control.releaseAll();
    QVERIFY(world.control.wait(billingPath, QStringLiteral("finished")));
    QVERIFY(refresh(world)); // behind whatever was left of it
    QVERIFY(world.openedLinks.isEmpty());
}

void TestBalance::accountGoes_data() {
    QTest::addColumn<bool>("another");
    QTest::newRow("signs out") << false;
    QTest::newRow("another account") << true;
}

void TestBalance::accountGoes() {
    QFETCH(const bool, another);
    World world;
    signIn(world);
    QVERIFY(refresh(world));
    world.model().setSheet(Sheet::Credits);
    world.control.next(reply(200, billing(7777)));
    world.control.hold(billingPath);
    world.model().refreshBalance(true);
    QVERIFY(world.control.wait(billingPath, QStringLiteral("held")));
    if (another) {
        world.control.post(QStringLiteral("consent"),
                           QJsonObject{{QStringLiteral("email"), QStringLiteral("other@example.com")}});
        const auto owner = world.model().store().owner();
        world.model().signIn();
        QVERIFY(waitUntil([&] { return world.model().store().owner() != owner; }));
    } else {
        world.model().signOut();
    }
    QVERIFY(!world.model().sheet());
    QVERIFY(!world.model().balance().billing());
    QCOMPARE(world.model().balance().isRefreshing(), another); // it asks for its own
    world.control.releaseAll();
    QVERIFY(world.control.wait(billingPath, QStringLiteral("finished"), another ? 4 : 3));
    QVERIFY(waitUntil([&] { return !world.model().balance().isRefreshing(); }));
    QCOMPARE(balanceOf(world) >= 0, another);
    QVERIFY(balanceOf(world) != 7777);
}

void TestBalance::quitWhileWaiting() {
    World world;
    signIn(world);
    world.model().setSheet(Sheet::Credits);
    world.control.hold(billingPath);
    world.model().refreshBalance(true);
    world.model().buyCredits(500);
    QVERIFY(world.control.wait(billingPath, QStringLiteral("held"), 1));
    world.quit();
    QVERIFY(world.openedLinks.isEmpty());
    world.launch();
}

QTEST_GUILESS_MAIN(TestBalance)
#include "TestBalance.moc"
