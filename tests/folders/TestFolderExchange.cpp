#include "Cancelled.h"
#include "Columns.h"
#include "Completion.h"
#include "FolderDevice.h"
#include "FolderMerge.h"
#include "Pending.h"
#include "RandomDocuments.h"
#include "ServiceControl.h"
#include "SystemClock.h"
#include "WaitUntil.h"

#include <QJsonDocument>
#include <QTest>

#include <cmath>

using namespace teskal;
using namespace teskal::test;
using namespace std::chrono_literals;

namespace {

const QString path = QStringLiteral("/api/folders");

QJsonObject asJson(const FolderDocument& document) {
    return QJsonDocument::fromJson(encodeFolderDocument(document)).object();
}

FolderDocument documentOf(const Folder& folder) {
    FolderDocument document;
    document.folders = {folder};
    return document;
}

QCoro::Task<QString> tokenFrom(Completion<QString> source, std::shared_ptr<bool> abandoned,
                               std::stop_token stop) {
    try {
        auto wait = source.wait(stop);
        QString token = co_await wait;
        co_return token;
    } catch (const Cancelled&) {
        *abandoned = true;
        throw;
    }
}

QCoro::Task<QString> failedToken() {
    throw HttpError(HttpError::Kind::Offline, 0, {});
    co_return QString();
}

} // namespace

/// How folders and the service come together, over HTTP.
class TestFolderExchange final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void init() { control_.post(QStringLiteral("reset"), QJsonObject()); }

    void statuses_data() {
        // taken: the document of the reply; retryMs: -1 for none; stopped: even for later requests
        const auto row =
            columns<int, bool, int, bool, QString>("status", "taken", "retryMs", "stopped", "notice");
        const QString quiet;
        for (const int status : {200, 201, 299})
            QTest::addRow("%d", status) << status << true << -1 << false << quiet;
        row("413", 413, true, -1, false, "notice: Words of the service.");
        for (const int status : {401, 503})
            QTest::addRow("%d", status) << status << false << -1 << true << quiet;
        for (const int status : {409, 500, 502, 504, 599})
            QTest::addRow("%d", status) << status << false << 1000 << false << quiet;
        for (const int status : {300, 302, 400, 402, 403, 404, 410, 422, 429})
            QTest::addRow("%d", status) << status << false << -1 << false << quiet;
    }
    void statuses() {
        QFETCH(const int, status);
        QFETCH(const bool, taken);
        QFETCH(const bool, stopped);
        QFETCH(const QString, notice);
        FolderDevice device(service_.origin());
        device.claim();
        answer(status, {{QStringLiteral("error"), QStringLiteral("Words of the service.")},
                        {QStringLiteral("document"),
                         asJson(documentOf(folderOf(QStringLiteral("f1"), QStringLiteral("there"), 5)))}});
        device.store.syncSoon(0ms);
        QVERIFY(device.exchange(0ms));
        QCOMPARE(device.names(), taken ? QStringList{QStringLiteral("there")} : QStringList());
        device.store.flush(); // leaves the retry alone
        QTEST(int(device.clock.untilNext().count()), "retryMs");
        const QStringList told = device.takeSignals();
        QCOMPARE(told.filter(QStringLiteral("notice")).join(QString()), notice);
        device.store.syncSoon(0ms);
        device.clock.advance(0ms);
        QCOMPARE(device.store.exchange().isUnderWay(), !stopped);
        QCOMPARE(device.store.exchange().isAuthStopped(), status == 401);
        QCOMPARE(device.store.exchange().isSyncAvailable(), status != 503);
    }

    void noReplyIsTriedAgain_data() {
        const auto row = columns<QJsonObject, int>("override", "retryMs");
        const QString drop = QStringLiteral("drop");
        row("closed", QJsonObject{{drop, true}}, 1000);
        row("reset", QJsonObject{{drop, QStringLiteral("reset")}}, 1000);
        row("cut", QJsonObject{{QStringLiteral("truncateAfterBytes"), 3}}, 1000);
        row("no token", QJsonObject(), 1000);
        row("not a document",
            QJsonObject{{QStringLiteral("status"), 200}, {QStringLiteral("body"), QStringLiteral("<html>")}},
            -1); // the same would come again
    }
    void noReplyIsTriedAgain() {
        QFETCH(QJsonObject, override);
        FolderDevice device(service_.origin(), control_.accessToken());
        if (override.isEmpty()) {
            const TeskalAPI offline(service_.origin(), [](std::stop_token) { return failedToken(); },
                                    device.session, device.clock, {});
            device.store.claim(QStringLiteral("a"), offline);
        } else {
            device.claim();
            override.insert(QStringLiteral("path"), path);
            control_.next(override);
        }
        device.store.syncSoon(0ms);
        device.clock.advance(0ms);
        QVERIFY(device.exchangeEnds());
        QTEST(int(device.clock.untilNext().count()), "retryMs");
    }

    void retriesWaitLongerAndEnd_data() {
        const auto row = columns<double, QList<int>>("random", "delays");
        row("shortest", 0.0, QList<int>{500, 1000, 2000, 4000, 8000, 16000});
        row("middle", 0.5, QList<int>{1000, 2000, 4000, 8000, 16000, 32000});
        row("longest", 1.0, QList<int>{1500, 3000, 6000, 12000, 24000, 48000});
    }
    void retriesWaitLongerAndEnd() {
        QFETCH(const QList<int>, delays);
        QFETCH(const double, random);
        FolderDevice device(service_.origin());
        device.random = random;
        device.claim();
        answer(500, {}, 9);
        device.store.syncSoon(0ms);
        QVERIFY(device.exchange(0ms));
        for (const int delay : delays) {
            QCOMPARE(device.clock.untilNext().count(), delay);
            QVERIFY(device.exchange(device.clock.untilNext()));
        }
        QCOMPARE(requestCount(), 7);
        QCOMPARE(device.clock.pending(), 0u);              // the seventh failure is not retried,
        QVERIFY(device.store.create(QStringLiteral("x"))); // but a change is sent
        device.store.flush();
        QVERIFY(device.exchange());
        QCOMPARE(device.clock.pending(), 0u);
        device.claim(); // and a claim begins anew
        QVERIFY(device.exchange(0ms));
        QCOMPARE(device.clock.untilNext().count(), delays.first());
    }

    void successForgetsFailures() {
        FolderDevice device(service_.origin(), control_.accessToken());
        device.claim();
        answer(500, {}, 2);
        answer(200);
        answer(500);
        device.store.syncSoon(0ms);
        for (const auto after : {0ms, 1000ms, 2000ms})
            QVERIFY(device.exchange(after));
        QCOMPARE(device.clock.pending(), 0u);
        device.store.syncSoon(0ms);
        QVERIFY(device.exchange(0ms));
        QCOMPARE(device.clock.untilNext(), 1000ms);
        device.store.syncSoon(300ms); // comes before the retry and takes its place
        QVERIFY(device.exchange(300ms));
        QCOMPARE(device.clock.pending(), 0u);
    }

    void skewOfTheClock_data() {
        // header: difference in ms, or text after "="
        const auto row = columns<QString, double>("header", "skew");
        row("service ahead", "10000", 10'000.0);
        row("service behind", "-5001", -5'001.0);
        row("with a fraction", "7000.6", 7'000.6);
        row("close", "5000", 0.0);
        for (const char* text : {"", "soon", "NaN", "Infinity", "-5", "0", "1e300"}) // says nothing: stays
            row(text, QLatin1Char('=') + QString::fromLatin1(text), 60'000.0);
    }
    void skewOfTheClock() {
        QFETCH(const QString, header);
        QFETCH(const double, skew);
        FolderDevice device(service_.origin());
        device.claim();
        const double now = device.clock.nowMs();
        const QString name = QStringLiteral("X-Teskal-Time");
        const QString second = header.startsWith(QLatin1Char('='))
                                   ? header.mid(1)
                                   : QString::number(now + header.toDouble(), 'f', 1);
        answer(200, {}, 1, {{name, QString::number(now + 60'000, 'f', 0)}});
        answer(413, {}, 1, {{name, second}});
        for (int i = 0; i < 2; ++i) {
            device.store.syncSoon(0ms);
            QVERIFY(device.exchange(0ms));
        }
        QVERIFY(device.store.create(QStringLiteral("x")));
        QCOMPARE(device.store.folders().first().createdAt, std::round(now + skew));
        device.claim(QStringLiteral("b"));
        QVERIFY(device.store.create(QStringLiteral("x")));
        QCOMPARE(device.store.folders().first().createdAt, now);
    }

    void replyIsMerged() {
        FolderDevice device(service_.origin());
        device.claim();
        const QString mine = *device.store.create(QStringLiteral("mine"));
        device.store.assign({QStringLiteral("chat1")}, mine);
        const double now = device.clock.nowMs();
        FolderDocument reply = documentOf(folderOf(QStringLiteral("f1"), QStringLiteral("theirs"), now, -1));
        reply.folders.append(folderOf(mine, QStringLiteral("older"), now - 1));
        reply.assignments = {{QStringLiteral("chat2"), QStringLiteral("f1"), now}};
        answer(200, asJson(reply)); // the document itself
        device.takeSignals();
        QVERIFY(device.exchange());
        QCOMPARE(device.names(), (QStringList{QStringLiteral("theirs"), QStringLiteral("mine")}));
        QCOMPARE(device.store.filed(),
                 (QHash<QString, QString>{{QStringLiteral("chat1"), mine},
                                          {QStringLiteral("chat2"), QStringLiteral("f1")}}));
        QCOMPARE(device.takeSignals(), (QStringList{QStringLiteral("folders"), QStringLiteral("filed")}));
        device.clock.advance(600ms);
        QVERIFY(waitUntil([&] { return device.saved() == device.store.document(); }));
        const QJsonObject sent = control_.lastRequest(path);
        QCOMPARE(sent.value(QLatin1String("method")).toString(), QStringLiteral("PUT"));
        QCOMPARE(
            sent.value(QLatin1String("json")).toObject().value(QLatin1String("folders")).toArray().size(), 1);
        QCOMPARE(requestCount(), 1);
    }

    void equalReplyWritesNothing() {
        FolderDevice device(service_.origin());
        device.claim();
        const QString id = *device.store.create(QStringLiteral("mine"));
        device.store.assign({QStringLiteral("c2"), QStringLiteral("c1")}, id);
        device.store.flush();
        QVERIFY(QFile::remove(device.path(QStringLiteral("a.folders.json"))));
        device.takeSignals();
        answer(200, {{QStringLiteral("document"), asJson(device.store.document())}});
        QVERIFY(device.exchange());
        QCOMPARE(device.takeSignals(), QStringList());
        QCOMPARE(device.clock.pending(), 0u);
        device.store.flush();
        QVERIFY(!QFile::exists(device.path(QStringLiteral("a.folders.json"))));
    }

    void onlyTheLastRequestCounts() {
        FolderDevice device(service_.origin());
        device.claim();
        answer(200, {}, 3);
        QVERIFY(device.store.create(QStringLiteral("x")));
        device.clock.advance(799ms);
        QVERIFY(device.store.create(QStringLiteral("y")));
        device.clock.advance(799ms);
        QVERIFY(!device.store.exchange().isUnderWay());
        QVERIFY(device.exchange(1ms));
        QCOMPARE(requestCount(), 1);
    }

    void changesDuringAnExchange() {
        FolderDevice device(service_.origin());
        device.claim();
        const QString old = *device.store.create(QStringLiteral("old"));
        const FolderDocument before = device.store.document();
        answer(200, asJson(before), 2);
        control_.hold(path);
        device.clock.advance(800ms);
        QVERIFY(control_.wait(path, QStringLiteral("held")));
        device.store.rename(old, QStringLiteral("new"));
        QVERIFY(device.store.create(QStringLiteral("more")));
        device.clock.advance(800ms); // asks for another exchange, twice
        device.store.syncSoon(0ms);
        device.clock.advance(0ms);
        control_.releaseAll();
        QVERIFY(device.exchangeEnds());
        QCOMPARE(requestCount(), 2);
        QCOMPARE(device.names(), (QStringList{QStringLiteral("new"), QStringLiteral("more")}));
        const QJsonObject sent = control_.lastRequest(path).value(QLatin1String("json")).toObject();
        QVERIFY(sent == asJson(device.store.document()));
    }

    void newAccountDuringAWait_data() {
        QTest::addColumn<QString>("wait");
        for (const char* wait : {"delay", "token", "headers", "body", "retry", "save"})
            QTest::newRow(wait) << QString::fromLatin1(wait);
    }
    void newAccountDuringAWait() {
        QFETCH(const QString, wait);
        FolderDevice device(service_.origin());
        CompletionSource<QString> token;
        const auto abandoned = std::make_shared<bool>(false);
        const auto provider = [source = token.completion(), abandoned](std::stop_token stop) {
            return tokenFrom(source, abandoned, stop);
        };
        if (wait != QLatin1String("token"))
            token.succeed(QStringLiteral("token"));
        const TeskalAPI api(service_.origin(), provider, device.session, device.clock, {});
        device.store.claim(QStringLiteral("a"), api);
        QVERIFY(device.store.create(QStringLiteral("of a")));
        if (wait == QLatin1String("retry"))
            answer(500);
        answer(200, asJson(documentOf(folderOf(QStringLiteral("late"), QStringLiteral("late"), 5))));
        if (wait == QLatin1String("headers") || wait == QLatin1String("body"))
            control_.hold(path, wait == QLatin1String("body") ? 5 : -1);
        int requests = 0;
        if (wait == QLatin1String("save")) {
            device.clock.advance(600ms); // the worker has it
        } else if (wait == QLatin1String("retry")) {
            QVERIFY(device.exchange());
            QCOMPARE(device.clock.untilNext(), 1000ms);
            requests = 1;
        } else if (wait != QLatin1String("delay")) {
            device.clock.advance(800ms);
            QVERIFY(device.store.exchange().isUnderWay());
            requests = wait == QLatin1String("token") ? 0 : 1;
            QVERIFY(requests == 0 || control_.wait(path, QStringLiteral("held")));
        }
        device.takeSignals();

        device.claim(QStringLiteral("b"));
        QCOMPARE(device.takeSignals(), QStringList{QStringLiteral("folders")});
        QVERIFY(!device.store.exchange().isUnderWay());
        // What is under way is given up: the held reply is not needed for its end.
        QVERIFY(wait != QLatin1String("token") || waitUntil([&] { return *abandoned; }));
        QVERIFY(requests == 0 || control_.wait(path, QStringLiteral("finished"), requests));
        token.succeed(QStringLiteral("token"));
        control_.releaseAll();
        runQueued();
        device.clock.advance(1h);
        runQueued();
        QCOMPARE(requestCount(), requests);
        QVERIFY(device.store.document() == FolderDocument());
        QCOMPARE(device.takeSignals(), QStringList());
        device.store.flush();
        QVERIFY(!QFile::exists(device.path(QStringLiteral("b.folders.json"))));
        QCOMPARE(device.saved().folders.size(), 1);
        QCOMPARE(device.saved().folders.first().name, QStringLiteral("of a"));
        // The new account's own exchange is not held up by the old one's.
        control_.post(QStringLiteral("reset"), QJsonObject());
        answer(200, asJson(documentOf(folderOf(QStringLiteral("f"), QStringLiteral("of b"), 5))));
        device.store.syncSoon(0ms);
        QVERIFY(device.exchange(0ms));
        QCOMPARE(device.names(), QStringList{QStringLiteral("of b")});
    }

    void stoppedUntilTheNextSignIn_data() {
        columns<int, QString>("status", "by");
        for (const int status : {401, 503})
            for (const char* by : {"resume", "claim", "other account"})
                QTest::addRow("%d, %s", status, by) << status << QString::fromLatin1(by);
    }
    void stoppedUntilTheNextSignIn() {
        QFETCH(const int, status);
        QFETCH(const QString, by);
        FolderDevice device(service_.origin());
        device.claim();
        answer(status);
        QVERIFY(device.store.create(QStringLiteral("x")));
        QVERIFY(device.exchange());
        QVERIFY(device.store.create(QStringLiteral("y"))); // kept, not sent
        device.clock.advance(1h);
        QCOMPARE(requestCount(), 1);

        answer(200);
        if (by == QLatin1String("resume")) {
            device.store.resume();
        } else if (by == QLatin1String("claim")) {
            device.claim();
        } else {
            device.claim(QStringLiteral("b"));
            device.claim();
            device.store.syncSoon(0ms);
        }
        QVERIFY(device.exchange(0ms));
        QCOMPARE(requestCount(), 2);
        const QJsonObject sent = control_.lastRequest(path).value(QLatin1String("json")).toObject();
        QVERIFY(sent == asJson(device.store.document()));
        QCOMPARE(device.names(), (QStringList{QStringLiteral("x"), QStringLiteral("y")}));
    }

    void refusalIsToldOnce() {
        FolderDevice device(service_.origin());
        device.claim();
        const QStringList text{QStringLiteral("notice: Too many folders to sync.")};
        const auto exchange = [&](int status) {
            answer(status);
            device.store.syncSoon(0ms);
            return device.exchange(0ms);
        };
        QVERIFY(exchange(413));
        QVERIFY(exchange(413));
        QCOMPARE(device.takeSignals(), text);
        QVERIFY(exchange(200)); // it fits again, until it does not
        QVERIFY(exchange(413));
        QCOMPARE(device.takeSignals(), text);
    }

    void endOfTheStore() {
        control_.hold(path);
        {
            FolderDevice device(service_.origin());
            device.claim();
            device.store.syncSoon(0ms);
            device.clock.advance(0ms);
            QVERIFY(control_.wait(path, QStringLiteral("held")));
        }
        QVERIFY(control_.wait(path, QStringLiteral("finished")));
        const QJsonObject left = control_.lastRequest(path);
        QCOMPARE(left.value(QLatin1String("outcome")).toString(), QStringLiteral("clientLeft"));
    }

    void serviceMergesAlike() {
        FolderDevice device(service_.origin(), control_.accessToken());
        const unsigned seed = 20;
        // Both clocks are close enough: the documents' times avoid the minute around a year ago.
        const double now = SystemClock().nowMs();
        RandomDocuments documents(seed, now);
        FolderDocument expected;
        for (int round = 0; round < 60; ++round) {
            const FolderDocument sent = documents.next();
            expected = merged({expected, sent}, now);
            const FolderSyncReply reply = waitFor([&](std::stop_token stop) {
                return device.api.syncFolders(sent, std::nullopt, std::move(stop));
            });
            QCOMPARE(reply.status, 200);
            QVERIFY2(reply.document == expected,
                     qPrintable(QStringLiteral("seed %1, round %2:\n%3\n%4")
                                    .arg(seed)
                                    .arg(round)
                                    .arg(QString::fromUtf8(encodeFolderDocument(expected)),
                                         QString::fromUtf8(encodeFolderDocument(
                                             reply.document.value_or(FolderDocument()))))));
        }
    }

private:
    /// The next \a times exchanges end so.
    void answer(int status, const QJsonObject& json = {}, int times = 1, const QJsonObject& headers = {}) {
        control_.next({{QStringLiteral("path"), path},
                       {QStringLiteral("status"), status},
                       {QStringLiteral("json"), json},
                       {QStringLiteral("headers"), headers},
                       {QStringLiteral("times"), times}});
    }
    qsizetype requestCount() { return control_.requests(path).size(); }

    LocalService service_;
    ServiceControl control_{service_};
};

QTEST_GUILESS_MAIN(TestFolderExchange)
#include "TestFolderExchange.moc"
