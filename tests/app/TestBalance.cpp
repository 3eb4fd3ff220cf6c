#include "Columns.h"
#include "World.h"

using namespace teskal::test;

namespace {

const QString billingPath = u"/api/billing"_qs;

QJsonObject reply(int status, const QJsonObject& json) {
    return {{u"path"_qs, billingPath}, {u"status"_qs, status}, {u"json"_qs, json}};
}

QJsonObject billing(int balance) {
    return {{u"enabled"_qs, true}, {u"balance"_qs, balance}};
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
    void newestRefreshCounts() {
        World world;
        signIn(world);
        world.control.next(reply(200, billing(1)));
        world.control.hold(billingPath);
        world.model().refreshBalance(true);
        QVERIFY(world.control.wait(billingPath, u"held"_qs));
        world.model().refreshBalance(false); // what is asked already is fresher
        world.model().refreshBalance(true);
        world.control.releaseAll();
        QVERIFY(waitUntil([&] { return !world.model().balance().isRefreshing(); }));
        QVERIFY(world.control.wait(billingPath, u"finished"_qs, 3));
        QCOMPARE(world.control.requests(billingPath).size(), 3);
        QCOMPARE(world.control.lastRequest(billingPath)[u"query"].toObject().keys(),
                 QStringList{u"fresh"_qs});
        QVERIFY(balanceOf(world) > 1);
    }

    void buying() {
        World world;
        signIn(world);
        world.model().setSheet(Sheet::Credits);
        QVERIFY(refresh(world));
        world.control.hold(billingPath);
        world.model().buyCredits(2500);
        QVERIFY(world.model().balance().purchase() == Balance::Purchase::Opening);
        QVERIFY(world.control.wait(billingPath, u"held"_qs));
        world.model().buyCredits(500); // one at a time
        world.control.releaseAll();
        QVERIFY(waitUntil([&] { return !world.openedLinks.isEmpty(); }));
        QVERIFY(world.model().balance().purchase() == Balance::Purchase::Opened);
        QCOMPARE(world.control.lastRequest(billingPath)[u"json"].toObject(),
                 (QJsonObject{{u"credits"_qs, 2500}, {u"returnTo"_qs, u"/chat"_qs}}));
        QCOMPARE(world.openedLinks.size(), 1);
        QVERIFY(world.openedLinks.first().startsWith(world.service->origin().toString() +
                                                     QLatin1String("/checkout?session=")));
        QVERIFY(refresh(world));
        QVERIFY2(world.model().balance().purchase() == Balance::Purchase::Opened, "not paid yet");
        world.control.next(reply(200, billing(9999)));
        QVERIFY(refresh(world));
        QVERIFY(world.model().balance().purchase() == Balance::Purchase::None);
    }

    void buyingFails_data() {
        const auto row = columns<QJsonObject, QString>("failure", "error");
        const QString noPage = u"Could not start checkout."_qs;
        row("refused", reply(403, {{u"error"_qs, u"Not for you."_qs}}), "Not for you.");
        row("no page", reply(200, {}), noPage);
        row("not a web page", reply(200, {{u"url"_qs, u"file:///etc/passwd"_qs}}), noPage);
    }

    void buyingFails() {
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

    void closedSheetOpensNoBrowser() {
        World world;
        signIn(world);
        world.model().setSheet(Sheet::Credits);
        world.control.hold(billingPath);
        world.model().buyCredits(500);
        QVERIFY(world.control.wait(billingPath, u"held"_qs));
        world.model().setSheet(std::nullopt);
        QVERIFY(world.model().balance().purchase() == Balance::Purchase::None);
        world.control.releaseAll();
        QVERIFY(world.control.wait(billingPath, u"finished"_qs));
        QVERIFY(refresh(world)); // behind whatever was left of it
        QVERIFY(world.openedLinks.isEmpty());
    }

    void accountGoes_data() { rows<bool>("another", {{"signs out", false}, {"another account", true}}); }

    void accountGoes() {
        QFETCH(const bool, another);
        World world;
        signIn(world);
        QVERIFY(refresh(world));
        world.model().setSheet(Sheet::Credits);
        world.control.next(reply(200, billing(7777)));
        world.control.hold(billingPath);
        world.model().refreshBalance(true);
        QVERIFY(world.control.wait(billingPath, u"held"_qs));
        if (another) {
            world.control.post(u"consent"_qs, QJsonObject{{u"email"_qs, u"other@example.com"_qs}});
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
        QVERIFY(world.control.wait(billingPath, u"finished"_qs, another ? 4 : 3));
        QVERIFY(waitUntil([&] { return !world.model().balance().isRefreshing(); }));
        QCOMPARE(balanceOf(world) >= 0, another);
        QVERIFY(balanceOf(world) != 7777);
    }
};

QTEST_GUILESS_MAIN(TestBalance)
#include "TestBalance.moc"
