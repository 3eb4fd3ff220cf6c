#include "Cancelled.h"
#include "Columns.h"
#include "Completion.h"
#include "FolderDevice.h"
#include "FolderMerge.h"
#include "Pending.h"
#include "RandomDocuments.h"
#include "ServiceControl.h"
#include "SystemClock.h"

#include <QJsonDocument>

#include <cmath>

using namespace teskal::test;
using namespace std::chrono_literals;

namespace {

const QString path = u"/api/folders"_qs;

class SignedInDevice : public FolderDevice {
public:
    explicit SignedInDevice(const QUrl& origin, const QString& accessToken = u"token"_qs)
        : FolderDevice(origin, accessToken) {
        claim();
    }
};

QJsonObject asJson(const FolderDocument& document) {
    return QJsonDocument::fromJson(encodeFolderDocument(document)).object();
}

FolderDocument documentOf(const Folder& folder) {
    return {{folder}, {}, {}};
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
    void init() { control_.post(u"reset"_qs, QJsonObject()); }

    void statuses_data() {
        // retryMs: -1 for none; stopped: even for later requests; said: "folders" when the reply's document
        // was taken
        columns<int, int, bool, QString>("status", "retryMs", "stopped", "said");
        const auto row = [](int status, const QString& said, int retryMs = -1, bool stopped = false) {
            QTest::addRow("%d", status) << status << retryMs << stopped << said;
        };
        for (const int status : {200, 201, 299})
            row(status, u"folders"_qs);
        row(413, u"notice: Words of the service., folders"_qs);
        for (const int status : {401, 503})
            row(status, {}, -1, true);
        for (const int status : {409, 500, 502, 504, 599})
            row(status, {}, 1000);
        for (const int status : {300, 302, 400, 402, 403, 404, 410, 422, 429})
            row(status, {});
    }
    void statuses() {
        FETCH(int, status, bool, stopped, QString, said);
        SignedInDevice device(service_.origin());
        answer(status, {{u"error"_qs, u"Words of the service."_qs},
                        {u"document"_qs, asJson(documentOf(folderOf(u"f1"_qs, u"there"_qs, 5)))}});
        QVERIFY(device.exchangeNow());
        QCOMPARE(device.names(), said.contains(u"folders") ? u"there"_qs : QString());
        device.store.flush(); // leaves the retry alone
        QTEST(int(device.clock.untilNext().count()), "retryMs");
        QCOMPARE(device.takeSignals(), said);
        device.store.syncSoon(0ms);
        device.clock.advance(0ms);
        QCOMPARE(device.store.exchange().isUnderWay(), !stopped);
        QCOMPARE(device.store.exchange().isAuthStopped(), status == 401);
        QCOMPARE(device.store.exchange().isSyncAvailable(), status != 503);
    }

    void noReplyIsTriedAgain_data() {
        const auto row = columns<QJsonObject, int>("override", "retryMs");
        const QString drop = u"drop"_qs;
        row("closed", QJsonObject{{drop, true}}, 1000);
        row("reset", QJsonObject{{drop, u"reset"_qs}}, 1000);
        row("cut", QJsonObject{{u"truncateAfterBytes"_qs, 3}}, 1000);
        row("no token", QJsonObject(), 1000);
        row("not a document", QJsonObject{{u"status"_qs, 200}, {u"body"_qs, u"<html>"_qs}},
            -1); // the same would come again
    }
    void noReplyIsTriedAgain() {
        QFETCH(QJsonObject, override);
        FolderDevice device(service_.origin(), control_.accessToken());
        if (override.isEmpty()) {
            const TeskalAPI offline(service_.origin(), [](std::stop_token) { return failedToken(); },
                                    device.session, device.clock, {});
            device.store.claim(u"a"_qs, offline);
        } else {
            device.claim();
            override.insert(u"path"_qs, path);
            control_.next(override);
        }
        device.store.syncSoon(0ms);
        device.clock.advance(0ms);
        QVERIFY(device.exchangeEnds());
        QTEST(int(device.clock.untilNext().count()), "retryMs");
    }

    void retriesWaitLongerAndEnd_data() {
        const auto row = columns<double, int>("random", "first");
        row("shortest", 0.0, 500);
        row("middle", 0.5, 1000);
        row("longest", 1.0, 1500);
    }
    void retriesWaitLongerAndEnd() {
        FETCH(int, first, double, random);
        FolderDevice device(service_.origin());
        device.random = random;
        device.claim();
        answer(500, {}, 9);
        QVERIFY(device.exchangeNow());
        for (int retry = 0; retry < 6; ++retry) {
            QCOMPARE(device.clock.untilNext().count(), first << retry); // each twice the one before
            QVERIFY(device.exchange(device.clock.untilNext()));
        }
        QCOMPARE(requestCount(), 7);
        QCOMPARE(device.clock.pending(), 0u);  // the seventh failure is not retried,
        QVERIFY(device.store.create(u"x"_qs)); // but a change is sent
        device.store.flush();
        QVERIFY(device.exchange());
        QCOMPARE(device.clock.pending(), 0u);
        device.claim(); // and a claim begins anew
        QVERIFY(device.exchange(0ms));
        QCOMPARE(device.clock.untilNext().count(), first);
    }

    void successForgetsFailures() {
        SignedInDevice device(service_.origin(), control_.accessToken());
        answer(500, {}, 2);
        answer(200);
        answer(500);
        device.store.syncSoon(0ms);
        for (const auto after : {0ms, 1000ms, 2000ms})
            QVERIFY(device.exchange(after));
        QCOMPARE(device.clock.pending(), 0u);
        QVERIFY(device.exchangeNow());
        QCOMPARE(device.clock.untilNext(), 1000ms);
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
        FETCH(QString, header, double, skew);
        SignedInDevice device(service_.origin());
        const double now = device.clock.nowMs();
        const QString name = u"X-Teskal-Time"_qs;
        const bool isText = header.startsWith(u'=');
        answer(200, {}, 1, {{name, QString::number(now + 60'000, 'f', 0)}});
        answer(413, {}, 1,
               {{name, isText ? header.mid(1) : QString::number(now + header.toDouble(), 'f', 1)}});
        QVERIFY(device.exchangeNow() && device.exchangeNow());
        QVERIFY(device.store.create(u"x"_qs));
        QCOMPARE(device.store.folders().first().createdAt, std::round(now + skew));
        device.claim(u"b"_qs);
        QVERIFY(device.store.create(u"x"_qs));
        QCOMPARE(device.store.folders().first().createdAt, now);
    }

    void replyIsMerged() {
        SignedInDevice device(service_.origin());
        const QString mine = *device.store.create(u"mine"_qs);
        device.store.assign({u"chat1"_qs}, mine);
        const double now = device.clock.nowMs();
        FolderDocument reply = documentOf(folderOf(u"f1"_qs, u"theirs"_qs, now, -1));
        reply.folders.append(folderOf(mine, u"older"_qs, now - 1));
        reply.assignments = {{u"chat2"_qs, u"f1"_qs, now}};
        answer(200, asJson(reply)); // the document itself
        device.takeSignals();
        QVERIFY(device.exchange());
        QCOMPARE(device.names(), u"theirs, mine"_qs);
        QCOMPARE(device.store.filed(),
                 (QHash<QString, QString>{{u"chat1"_qs, mine}, {u"chat2"_qs, u"f1"_qs}}));
        QCOMPARE(device.takeSignals(), u"folders, filed"_qs);
        device.clock.advance(600ms);
        QVERIFY(waitUntil([&] { return device.saved() == device.store.document(); }));
        QCOMPARE(control_.lastRequest(path).value(u"method").toString(), u"PUT"_qs);
        QCOMPARE(lastSent().value(u"folders").toArray().size(), 1);
        QCOMPARE(requestCount(), 1);
    }

    void equalReplyWritesNothing() {
        SignedInDevice device(service_.origin());
        const QString id = *device.store.create(u"mine"_qs);
        device.store.assign({u"c2"_qs, u"c1"_qs}, id);
        device.store.flush();
        QVERIFY(QFile::remove(device.path(u"a.folders.json"_qs)));
        device.takeSignals();
        answer(200, {{u"document"_qs, asJson(device.store.document())}});
        QVERIFY(device.exchange());
        QCOMPARE(device.takeSignals(), QString());
        QCOMPARE(device.clock.pending(), 0u);
        device.store.flush();
        QVERIFY(!QFile::exists(device.path(u"a.folders.json"_qs)));
    }

    void onlyTheLastRequestCounts() {
        SignedInDevice device(service_.origin());
        answer(200, {}, 3);
        QVERIFY(device.store.create(u"x"_qs));
        device.clock.advance(799ms);
        QVERIFY(device.store.create(u"y"_qs));
        device.clock.advance(799ms);
        QVERIFY(!device.store.exchange().isUnderWay());
        QVERIFY(device.exchange(1ms));
        QCOMPARE(requestCount(), 1);
    }

    void changesDuringAnExchange() {
        SignedInDevice device(service_.origin());
        const QString old = *device.store.create(u"old"_qs);
        const FolderDocument before = device.store.document();
        answer(200, asJson(before), 2);
        control_.hold(path);
        device.clock.advance(800ms);
        QVERIFY(control_.wait(path, u"held"_qs));
        device.store.rename(old, u"new"_qs);
        QVERIFY(device.store.create(u"more"_qs));
        device.clock.advance(800ms); // asks for another exchange, twice
        device.store.syncSoon(0ms);
        device.clock.advance(0ms);
        control_.releaseAll();
        QVERIFY(device.exchangeEnds());
        QCOMPARE(requestCount(), 2);
        QCOMPARE(device.names(), u"new, more"_qs);
        QVERIFY(lastSent() == asJson(device.store.document()));
    }

    void newAccountDuringAWait_data() {
        rowsOf("wait", {"delay", "token", "headers", "body", "retry", "save"});
    }
    void newAccountDuringAWait() {
        QFETCH(const QString, wait);
        FolderDevice device(service_.origin());
        CompletionSource<QString> token;
        const auto abandoned = std::make_shared<bool>(false);
        const auto provider = [source = token.completion(), abandoned](std::stop_token stop) {
            return tokenFrom(source, abandoned, stop);
        };
        if (wait != u"token")
            token.succeed(u"token"_qs);
        const TeskalAPI api(service_.origin(), provider, device.session, device.clock, {});
        device.store.claim(u"a"_qs, api);
        QVERIFY(device.store.create(u"of a"_qs));
        if (wait == u"retry")
            answer(500);
        answer(200, asJson(documentOf(folderOf(u"late"_qs, u"late"_qs, 5))));
        if (wait == u"headers" || wait == u"body")
            control_.hold(path, wait == u"body" ? 5 : -1);
        int requests = 0;
        if (wait == u"save") {
            device.clock.advance(600ms); // the worker has it
        } else if (wait == u"retry") {
            QVERIFY(device.exchange());
            QCOMPARE(device.clock.untilNext(), 1000ms);
            requests = 1;
        } else if (wait != u"delay") {
            device.clock.advance(800ms);
            QVERIFY(device.store.exchange().isUnderWay());
            requests = wait == u"token" ? 0 : 1;
            QVERIFY(requests == 0 || control_.wait(path, u"held"_qs));
        }
        device.takeSignals();

        device.claim(u"b"_qs);
        QCOMPARE(device.takeSignals(), u"folders"_qs);
        QVERIFY(!device.store.exchange().isUnderWay());
        // What is under way is given up: the held reply is not needed for its end.
        QVERIFY(wait != u"token" || waitUntil([&] { return *abandoned; }));
        QVERIFY(requests == 0 || control_.wait(path, u"finished"_qs, requests));
        token.succeed(u"token"_qs);
        control_.releaseAll();
        runQueued();
        device.clock.advance(1h);
        runQueued();
        QCOMPARE(requestCount(), requests);
        QVERIFY(device.store.document() == FolderDocument());
        QCOMPARE(device.takeSignals(), QString());
        device.store.flush();
        QVERIFY(!QFile::exists(device.path(u"b.folders.json"_qs)));
        QCOMPARE(device.saved().folders.size(), 1);
        QCOMPARE(device.saved().folders.first().name, u"of a"_qs);
        // The new account's own exchange is not held up by the old one's.
        control_.post(u"reset"_qs, QJsonObject());
        answer(200, asJson(documentOf(folderOf(u"f"_qs, u"of b"_qs, 5))));
        QVERIFY(device.exchangeNow());
        QCOMPARE(device.names(), u"of b"_qs);
    }

    void stoppedUntilTheNextSignIn_data() {
        columns<int, QString>("status", "by");
        for (const int status : {401, 503})
            for (const char* by : {"resume", "claim", "other account"})
                QTest::addRow("%d, %s", status, by) << status << QString::fromLatin1(by);
    }
    void stoppedUntilTheNextSignIn() {
        FETCH(int, status, QString, by);
        SignedInDevice device(service_.origin());
        answer(status);
        QVERIFY(device.store.create(u"x"_qs));
        QVERIFY(device.exchange());
        QVERIFY(device.store.create(u"y"_qs)); // kept, not sent
        device.clock.advance(1h);
        QCOMPARE(requestCount(), 1);

        answer(200);
        if (by == u"resume") {
            device.store.resume();
        } else if (by == u"claim") {
            device.claim();
        } else {
            device.claim(u"b"_qs);
            device.claim();
            device.store.syncSoon(0ms);
        }
        QVERIFY(device.exchange(0ms));
        QCOMPARE(requestCount(), 2);
        QVERIFY(lastSent() == asJson(device.store.document()));
        QCOMPARE(device.names(), u"x, y"_qs);
    }

    void refusalIsToldOnce() {
        SignedInDevice device(service_.origin());
        const QString text = u"notice: Too many folders to sync."_qs;
        for (const int fits : {413, 200}) { // the second time it fits again, until it does not
            for (const int status : {fits, 413}) {
                answer(status);
                QVERIFY(device.exchangeNow());
            }
            QCOMPARE(device.takeSignals(), text);
        }
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
            QVERIFY2(
                reply.document == expected,
                qPrintable(u"seed %1, round %2:\n%3\n%4"_qs.arg(seed).arg(round).arg(
                    QString::fromUtf8(encodeFolderDocument(expected)),
                    QString::fromUtf8(encodeFolderDocument(reply.document.value_or(FolderDocument()))))));
        }
    }

private:
    /// The next \a times exchanges end so.
    void answer(int status, const QJsonObject& json = {}, int times = 1, const QJsonObject& headers = {}) {
        control_.next({{u"path"_qs, path},
                       {u"status"_qs, status},
                       {u"json"_qs, json},
                       {u"headers"_qs, headers},
                       {u"times"_qs, times}});
    }
    /// The document of the last request.
    QJsonObject lastSent() { return control_.lastRequest(path).value(u"json").toObject(); }
    qsizetype requestCount() { return control_.requests(path).size(); }

    LocalService service_;
    ServiceControl control_{service_};
};

QTEST_GUILESS_MAIN(TestFolderExchange)
#include "TestFolderExchange.moc"
