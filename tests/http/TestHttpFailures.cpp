#include "Columns.h"
#include "HttpClient.h"
#include "HttpErrorMapping.h"
#include "RawHttpServer.h"

using namespace teskal::test;

namespace {

using Kind = HttpError::Kind;
const QString offlineText = u"You’re offline. Check your connection and try again."_qs;

void addCutReplies() {
    columns<QByteArray, RawReply>("method", "reply");
    const auto row = [](const char* name, const RawReply& reply) {
        QTest::addRow("GET, %s", name) << QByteArray("GET") << reply;
        QTest::addRow("POST, %s", name) << QByteArray("POST") << reply;
    };
    const QByteArray length("Content-Length: 100\r\n");
    const QByteArray chunked("Transfer-Encoding: chunked\r\n");
    row("length cut short", RawReply::head(200, length).send("begun").close());
    row("length cut later", RawReply::head(200, length).send("begun").pause().close());
    row("length cut by reset", RawReply::head(200, length).send("begun").pause().reset());
    row("chunks cut short", RawReply::head(200, chunked).chunk("begun").close());
    row("chunks cut later", RawReply::head(200, chunked).chunk("begun").pause().close());
    row("chunks cut by reset", RawReply::head(200, chunked).chunk("begun").pause().reset());
    row("cut inside a chunk", RawReply::head(200, chunked).send("9\r\nbegun").close());
    row("error status cut short", RawReply::head(500, length).send("begun").close());
}

} // namespace

/// Everything that ends a request without a usable reply.
class TestHttpFailures final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void bytesBeforeAFailureAreDelivered_data() { addCutReplies(); }
    void bytesBeforeAFailureAreDelivered() {
        FETCH(QByteArray, method, RawReply, reply);
        RawHttpServer server(reply);
        HttpClient client;
        const auto stream = client.open(HttpRequest(method, server.url())).result();
        auto reading = HttpClient::readToEnd(*stream);
        QVERIFY(waitUntil([&] {
            server.proceed();
            return reading.isDone();
        }));
        const StreamOutcome outcome = reading.result();
        QVERIFY(outcome.error);
        QCOMPARE(outcome.error->kind(), Kind::ConnectionLost);
        QCOMPARE(outcome.bytes, "begun");
        QCOMPARE(server.requests().size(), 1);

        // The whole body fails as the stream does.
        server.enqueue(reply);
        auto fetching = client.fetch(HttpRequest(method, server.url()));
        QVERIFY(waitUntil([&] {
            server.proceed();
            return fetching.isDone();
        }));
        const auto error = fetching.error<HttpError>();
        QVERIFY(error);
        QCOMPARE(error->kind(), Kind::ConnectionLost);
        QCOMPARE(error->text(), offlineText);
        QVERIFY(!error->detail().contains(u"127.0.0.1"));
    }

    void replyThatIsNoHttpFails_data() {
        rows<QByteArray>("reply", {{"text", "hello there, this is not HTTP\r\n\r\n"},
                                   {"other protocol", "SSH-2.0-OpenSSH_9.2\r\n"},
                                   {"no status number", "HTTP/1.1 abc OK\r\nContent-Length: 0\r\n\r\n"},
                                   {"binary", QByteArray("\x00\x01\x02\xff\r\n\r\n", 8)}});
    }
    void replyThatIsNoHttpFails() {
        QFETCH(const QByteArray, reply);
        RawHttpServer server;
        RawReply raw;
        server.enqueue(raw.send(reply).close());
        HttpClient client;
        const auto error = client.fetch(post(server.url(), "x")).error<HttpError>();
        QVERIFY(error);
        QCOMPARE(error->kind(), Kind::ConnectionLost); // the network library tells no more
        QCOMPARE(server.requests().size(), 1);
    }

    void nothingIsSentTwice_data() {
        columns<QByteArray, bool, RawReply>("method", "onUsedConnection", "reply");
        RawReply closed;
        closed.close();
        RawReply reset;
        reset.reset();
        RawReply partial;
        partial.send("HTTP/1.1 20").close();
        for (const char* method : {"POST", "PUT", "DELETE", "GET"}) {
            for (const bool used : {false, true}) {
                const char* where = used ? "used connection" : "new connection";
                QTest::addRow("%s, %s, closed", method, where) << QByteArray(method) << used << closed;
                QTest::addRow("%s, %s, reset", method, where) << QByteArray(method) << used << reset;
                QTest::addRow("%s, %s, status line cut", method, where)
                    << QByteArray(method) << used << partial;
            }
        }
    }
    void nothingIsSentTwice() {
        FETCH(QByteArray, method, bool, onUsedConnection, RawReply, reply);
        RawHttpServer server;
        HttpClient client;
        if (onUsedConnection) {
            server.enqueue(RawReply::complete(200, "warm"));
            client.fetch(get(server.url())).result();
        }
        const auto before = server.requests().size();
        server.setHandler([&](const RawRequest&) { return reply; });
        HttpRequest request(method, server.url());
        if (method == "POST" || method == "PUT")
            request.body = QByteArrayLiteral("grant_type=refresh_token");
        const auto error = client.fetch(request).error<HttpError>();
        QVERIFY(error);
        QCOMPARE(error->kind(), Kind::ConnectionLost);
        QCOMPARE(error->text(), offlineText);
        QCOMPARE(server.requests().size() - before, 1);
    }

    void refusedConnection() {
        QUrl url;
        {
            const RawHttpServer server;
            url = server.url();
        }
        HttpClient client;
        const auto error = client.fetch(get(url)).error<HttpError>();
        QVERIFY(error);
        QCOMPARE(error->kind(), Kind::Refused);
        QCOMPARE(error->text(), u"Teskal can’t be reached right now. Try again in a moment."_qs);
    }

    void unknownHost() {
        HttpClient client;
        // RFC 6761: names under .invalid never resolve.
        const auto error = client.fetch(get(QUrl(u"http://teskal.invalid/"_qs))).error<HttpError>();
        QVERIFY(error);
        QVERIFY(error->kind() == Kind::HostNotFound || error->kind() == Kind::Offline);
        QVERIFY(!error->text().contains(u"invalid"));
    }

    void tooLargeBodyIsGivenUp_data() {
        const auto row = columns<RawReply, bool>("reply", "fits");
        const QByteArray chunked("Transfer-Encoding: chunked\r\n");
        row("announced", RawReply::head(200, "Content-Length: 1001\r\n"), false);
        row("not announced", RawReply::head(200, chunked).chunk(QByteArray(1001, 'x')), false);
        row("just fits", RawReply::complete(200, QByteArray(1000, 'x')), true);
    }
    void tooLargeBodyIsGivenUp() {
        FETCH(RawReply, reply, bool, fits);
        RawHttpServer server(reply);
        HttpClient client;
        HttpRequest request = get(server.url());
        request.maxBodySize = 1000;
        const auto error = client.fetch(request).error<HttpError>();
        QCOMPARE(!error, fits);
        if (error) {
            QCOMPARE(error->kind(), Kind::TooLarge);
            QVERIFY(waitUntil([&] { return server.openConnections() == 0; }));
        }
    }
};

QTEST_GUILESS_MAIN(TestHttpFailures)
#include "TestHttpFailures.moc"
