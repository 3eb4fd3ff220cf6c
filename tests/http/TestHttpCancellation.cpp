#include "Cancelled.h"
#include "HttpClient.h"

using namespace teskal::test;
using namespace std::chrono_literals;

namespace {

/// A reply that gives nothing, the head, or the head and a first piece, and then hangs.
RawReply hanging(const QByteArray& moment) {
    RawReply reply;
    if (moment != "head")
        reply = RawReply::head(200, "Content-Length: 100\r\n");
    if (moment == "body after a piece")
        reply.send("piece");
    return reply.pause();
}

/// Answers whoever connects before anything was asked, so that a reply is there when its request goes out.
class HastyServer final : public QTcpServer {
public:
    HastyServer() {
        if (!listen(QHostAddress::LocalHost))
            qFatal("no free loopback port");
        connect(this, &QTcpServer::newConnection, this, [this] {
            QTcpSocket* socket = nextPendingConnection();
            connect(socket, &QTcpSocket::readyRead, this, [this, socket] { received_ += socket->readAll(); });
            connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
            socket->write("HTTP/1.1 200 OK\r\nConnection: close\r\nContent-Length: 2\r\n\r\nok");
            socket->flush();
        });
    }

    QUrl url(const QString& path) const {
        return QUrl(u"http://127.0.0.1:%1%2"_qs.arg(serverPort()).arg(path));
    }
    const QByteArray& received() const { return received_; }

private:
    QByteArray received_;
};

bool isAbandoned(const RawHttpServer& server) {
    return waitUntil([&] { return server.openConnections() == 0; });
}

} // namespace

/// Every moment at which nobody wants a reply any more.
class TestHttpCancellation final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void stopBeforeSendingSendsNothing() {
        const RawHttpServer server;
        HttpClient client;
        std::stop_source stop;
        stop.request_stop();
        auto fetching =
            start([&](std::stop_token) { return client.session.fetch(get(server.url()), stop.get_token()); });
        QVERIFY(fetching.isDone());
        QVERIFY(fetching.error<Cancelled>());
        QCOMPARE(server.connectionCount(), 0);
    }

    void heldRequestsGoOutLater() {
        RawHttpServer server(RawReply::head(200, "Content-Length: 0\r\n"));
        HttpClient client;
        client.session.hold();
        const auto fetch = [&](std::stop_token stop) {
            return client.session.fetch(get(server.url()), stop);
        };
        auto kept = start(fetch);
        auto stopped = start(fetch);
        stopped.stop();
        QVERIFY(stopped.error<Cancelled>());
        QCOMPARE(server.connectionCount(), 0);
        client.session.release();
        QCOMPARE(kept.result().head.status, 200);
        QCOMPARE(server.requests().size(), 1);
    }

    void stopAndSilenceAreToldApart_data() {
        columns<QByteArray, QByteArray, bool>("moment", "how", "ownConnection");
        for (const char* moment : {"head", "body", "body after a piece"})
            for (const bool own : {false, true})
                for (const char* how : {"stopped", "owner destroyed", "silence"})
                    QTest::addRow("%s, %s, %s", moment, how, own ? "own" : "shared")
                        << QByteArray(moment) << QByteArray(how) << own;
    }
    void stopAndSilenceAreToldApart() {
        FETCH(QByteArray, moment, QByteArray, how, bool, ownConnection);
        RawHttpServer server(hanging(moment));
        HttpClient client;
        HttpRequest request = post(server.url(), "x");
        request.ownConnection = ownConnection;
        auto fetching = client.fetch(request);
        QVERIFY(waitUntil([&] { return server.pausedCount() == 1; }));
        QVERIFY(!fetching.isDone());
        if (how == "silence") {
            client.clock.advance(60s);
            // A piece may still have been on its way and have begun the silence anew.
            QVERIFY(waitUntil([&] {
                client.clock.advance(60s);
                return fetching.isDone();
            }));
            QCOMPARE(errorOf(fetching).kind(), HttpError::Kind::TimedOut);
        } else {
            how == "stopped" ? fetching.stop() : fetching.destroyScope();
            QVERIFY(how == "stopped" || fetching.isDone());
            QVERIFY(fetching.error<Cancelled>());
        }
        QVERIFY(isAbandoned(server));
        QCOMPARE(client.clock.pending(), 0U);
        QCOMPARE(server.requests().size(), 1);
    }

    void stoppedReadEndsTheStream() {
        RawHttpServer server(hanging("body"));
        HttpClient client;
        const auto stream = client.open(get(server.url())).result();
        auto reading = HttpClient::read(*stream);
        reading.stop();
        QVERIFY(reading.error<Cancelled>());
        QVERIFY(isAbandoned(server));
        QVERIFY(HttpClient::read(*stream).error<Cancelled>());
    }

    void destroyedStreamEndsItsRead() {
        RawHttpServer server(hanging("body"));
        HttpClient client;
        auto stream = client.open(get(server.url())).result();
        auto reading = HttpClient::read(*stream);
        stream.reset();
        QVERIFY(!reading.isDone()); // not inside the destructor
        QVERIFY(reading.error<Cancelled>());
        QVERIFY(isAbandoned(server));
    }

    void sessionMayGoAfterItsCalls() {
        RawHttpServer server;
        server.setHandler([](const RawRequest&) { return hanging("body after a piece"); });
        {
            HttpClient client;
            auto shared = client.fetch(get(server.url()));
            HttpRequest request = get(server.url());
            request.ownConnection = true;
            auto own = client.fetch(request);
            QVERIFY(waitUntil([&] { return server.pausedCount() == 2; }));
        }
        QVERIFY(isAbandoned(server));
    }

    void nextRequestIsUnharmed_data() {
        // stopped: otherwise its owner goes
        const auto row = columns<QByteArray, bool>("method", "stopped");
        row("GET", "GET", false);
        row("POST", "POST", false);
        row("GET, one before was stopped", "GET", true);
        row("POST, one before was stopped", "POST", true);
    }
    /// The network library may close the connection of a request that was given up a little too late, when it
    /// is being opened for the next one. That takes some hundred thousandths of a second, hence the many
    /// rounds.
    void nextRequestIsUnharmed() {
        FETCH(QByteArray, method, bool, stopped);
        constexpr int rounds = 200;
        HastyServer server;
        HttpClient client;
        HttpRequest request(method, server.url(u"/wanted"_qs));
        if (method == "POST")
            request.body = "grant_type=authorization_code";
        for (int round = 0; round < rounds; ++round) {
            std::stop_source stop;
            auto unwanted = start([&](std::stop_token) {
                return client.session.fetch(post(server.url(u"/unwanted"_qs), "x"), stop.get_token());
            });
            for (int steps = round % 20; steps > 0; --steps)
                QCoreApplication::processEvents();
            if (stopped)
                stop.request_stop();
            else
                unwanted.destroyScope();
            auto wanted = client.fetch(request);
            const auto error = wanted.error<HttpError>();
            QVERIFY2(!error, error ? qPrintable(error->detail()) : "");
        }
        QVERIFY(waitUntil([&] { return server.received().count(method + " /wanted ") == rounds; }));
    }

    /// Aborting a request may make the network library close the connection of another, so that waits for
    /// their end.
    void requestsUnderWayAreUnharmed() {
        RawHttpServer server(RawReply::head(200, "Content-Length: 5\r\n").pause().send("older"));
        server.enqueue(hanging("body"));
        server.enqueue(RawReply::complete(200, "newer"));
        HttpClient client;
        auto older = client.fetch(get(server.url()));
        QVERIFY(waitUntil([&] { return server.pausedCount() == 1; }));
        auto unwanted = client.fetch(get(server.url()));
        QVERIFY(waitUntil([&] { return server.pausedCount() == 2; }));
        unwanted.destroyScope();
        auto newer = client.fetch(get(server.url()));
        QCOMPARE(newer.result().body, "newer");
        QVERIFY(!older.isDone());
        QCOMPARE(server.openConnections(), 3);
        server.proceed();
        QCOMPARE(older.result().body, "older");
        // The one that serves new requests stays; what carried the others has gone with the last of them.
        QVERIFY(waitUntil([&] { return server.openConnections() == 1; }));
    }
};

QTEST_GUILESS_MAIN(TestHttpCancellation)
#include "TestHttpCancellation.moc"
