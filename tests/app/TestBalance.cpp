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

/// Somebody has signed in, and what is asked then has arrived.
struct Customer : SignedInWorld {
    Customer() {
        if (!waitUntil([this] { return balance().billing().has_value(); }))
            qFatal("no balance comes");
    }

    const Balance& balance() { return model().balance(); }
    bool settles() {
        return waitUntil([this] { return !balance().isRefreshing(); });
    }
    bool refresh() {
        model().refreshBalance(true);
        return settles();
    }
    qint64 credits() {
        const auto& known = balance().billing();
        return known ? known->balance.value_or(-1) : -2;
    }
};

} // namespace

/// The balance and the purchases of whoever is signed in, and of nobody else.
class TestBalance final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void newestRefreshCounts() {
        Customer world;
        world.control.next(reply(200, billing(1)));
        world.control.hold(billingPath);
        world.model().refreshBalance(true);
        QVERIFY(world.control.wait(billingPath, u"held"_qs));
        world.model().refreshBalance(false); // what is asked already is fresher
        world.model().refreshBalance(true);
        world.control.releaseAll();
        QVERIFY(world.settles());
        QVERIFY(world.control.wait(billingPath, u"finished"_qs, 3));
        QCOMPARE(world.control.requests(billingPath).size(), 3);
        QCOMPARE(world.control.lastRequest(billingPath)[u"query"].toObject().keys(),
                 QStringList{u"fresh"_qs});
        QVERIFY(world.credits() > 1);
    }

    void buying() {
        Customer world;
        world.model().setSheet(Sheet::Credits);
        QVERIFY(world.refresh());
        world.control.hold(billingPath);
        world.model().buyCredits(2500);
        QVERIFY(world.balance().purchase() == Balance::Purchase::Opening);
        QVERIFY(world.control.wait(billingPath, u"held"_qs));
        world.model().buyCredits(500); // one at a time
        world.control.releaseAll();
        QVERIFY(waitUntil([&] { return !world.openedLinks.isEmpty(); }));
        QVERIFY(world.balance().purchase() == Balance::Purchase::Opened);
        QCOMPARE(world.control.lastRequest(billingPath)[u"json"].toObject(),
                 (QJsonObject{{u"credits"_qs, 2500}, {u"returnTo"_qs, u"/chat"_qs}}));
        QCOMPARE(world.openedLinks.size(), 1);
        const QString page = world.service->url(u"/checkout?session="_qs).toString();
        QVERIFY(world.openedLinks.first().startsWith(page));
        QVERIFY(world.refresh());
        QVERIFY2(world.balance().purchase() == Balance::Purchase::Opened, "not paid yet");
        world.control.next(reply(200, billing(9999)));
        QVERIFY(world.refresh());
        QVERIFY(world.balance().purchase() == Balance::Purchase::None);
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
        Customer world;
        world.model().setSheet(Sheet::Credits);
        world.control.next(failure);
        world.model().buyCredits(500);
        QVERIFY(waitUntil([&] { return world.balance().purchase() == Balance::Purchase::None; }));
        QTEST(world.balance().error(), "error");
        QVERIFY(world.openedLinks.isEmpty());
        world.model().setSheet(std::nullopt);
        QCOMPARE(world.balance().error(), QString());
    }

    void closedSheetOpensNoBrowser() {
        Customer world;
        world.model().setSheet(Sheet::Credits);
        world.control.hold(billingPath);
        world.model().buyCredits(500);
        QVERIFY(world.control.wait(billingPath, u"held"_qs));
        world.model().setSheet(std::nullopt);
        QVERIFY(world.balance().purchase() == Balance::Purchase::None);
        world.control.releaseAll();
        QVERIFY(world.control.wait(billingPath, u"finished"_qs));
        QVERIFY(world.refresh()); // behind whatever was left of it
        QVERIFY(world.openedLinks.isEmpty());
    }

    void accountGoes_data() { rows<bool>("another", {{"signs out", false}, {"another account", true}}); }

    void accountGoes() {
        QFETCH(const bool, another);
        Customer world;
        QVERIFY(world.refresh());
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
        QVERIFY(!world.model().sheet() && !world.balance().billing());
        QCOMPARE(world.balance().isRefreshing(), another); // it asks for its own
        world.control.releaseAll();
        QVERIFY(world.control.wait(billingPath, u"finished"_qs, another ? 4 : 3));
        QVERIFY(world.settles());
        QCOMPARE(world.credits() >= 0, another);
        QVERIFY(world.credits() != 7777);
    }
};

QTEST_GUILESS_MAIN(TestBalance)
#include "TestBalance.moc"
