#include "Columns.h"
#include "HttpClient.h"
#include "RawHttpServer.h"

#include <QTest>

using namespace teskal;
using namespace teskal::test;

namespace {

/// Bytes that text handling of any kind would damage.
QByteArray awkwardBytes(qsizetype size) {
    QByteArray bytes(size, '\0');
    for (qsizetype i = 0; i < size; ++i)
        bytes[i] = static_cast<char>((i * 131 + i / 251) & 0xff);
    return bytes;
}

} // namespace

/// What goes out and what comes back when nothing goes wrong.
class TestHttpExchange final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void everyStatusComesBackWithItsBody_data() {
        const auto row = columns<int, QByteArray>("status", "headers");
        for (const int status :
             {200, 201, 299, 300, 304, 400, 402, 403, 404, 405, 409, 410, 418, 429, 500, 501, 503, 599})
            QTest::addRow("%d", status) << status << QByteArray();
        row("401 without a challenge", 401, QByteArray());
        row("401 Bearer", 401, "WWW-Authenticate: Bearer error=\"invalid_token\"\r\n");
        row("401 Basic", 401, "WWW-Authenticate: Basic realm=\"x\"\r\n");
    }
    void everyStatusComesBackWithItsBody() {
        QFETCH(const int, status);
        QFETCH(const QByteArray, headers);
        RawHttpServer server;
        const QByteArray body = status == 304 ? "" : "{\"error\":\"told by the service\"}";
        server.enqueue(RawReply::complete(status, body, headers));
        HttpClient client;
        HttpRequest request = post(server.url(), "x");
        request.headers.append("Authorization", "Bearer t");
        const HttpResponse response = client.fetch(request).result();
        QCOMPARE(response.head.status, status);
        QCOMPARE(response.body, body);
        QCOMPARE(server.requests().size(), 1);
    }

    void requestGoesOutAsGiven_data() {
        const auto row = columns<QByteArray, bool, QByteArray>("method", "hasBody", "body");
        row("GET", "GET", false, QByteArray());
        row("DELETE", "DELETE", false, QByteArray());
        row("DELETE with body", "DELETE", true, "{}");
        row("PUT", "PUT", true, "{\"a\":1}");
        row("POST", "POST", true, awkwardBytes(1000));
        row("POST without body", "POST", false, QByteArray());
        row("POST with empty body", "POST", true, QByteArray());
        row("POST 5 MB", "POST", true, awkwardBytes(5'000'000));
    }
    void requestGoesOutAsGiven() {
        QFETCH(const QByteArray, method);
        QFETCH(const bool, hasBody);
        QFETCH(const QByteArray, body);
        RawHttpServer server(RawReply::complete(200, "ok"));
        HttpClient client;
        HttpRequest request(method, server.url(QStringLiteral("/api/x?a=b%20c&d=%2F")));
        request.headers.append("Content-Type", "application/json");
        request.headers.append("X-Teskal-Client", "Teskal/1");
        if (hasBody)
            request.body = body;
        QCOMPARE(client.fetch(request).result().body, "ok");
        QCOMPARE(server.requests().size(), 1);
        const RawRequest& seen = server.requests().first();
        QCOMPARE(seen.method, method);
        QCOMPARE(seen.target, "/api/x?a=b%20c&d=%2F");
        QVERIFY(seen.body == body);
        QCOMPARE(seen.header("Content-Type").value(), "application/json");
        QCOMPARE(seen.header("X-Teskal-Client").value(), "Teskal/1");
        QVERIFY(!seen.header("Upgrade"));
        QVERIFY(!seen.header("Transfer-Encoding"));
    }

    void headersArriveAndCompareWithoutCase() {
        RawHttpServer server(RawReply::complete(200, "", "X-Teskal-Title: Caf%C3%A9\r\nX-Odd: \xc3\xa9\r\n"));
        HttpClient client;
        const HttpHeaders headers = client.fetch(get(server.url())).result().head.headers;
        QCOMPARE(headers.value("x-teskal-title").value(), "Caf%C3%A9");
        QCOMPARE(headers.value("X-Odd").value(), "\xc3\xa9");
        QVERIFY(!headers.value("X-Absent"));
    }

    void bodyIsExactInEveryFraming_data() {
        columns<QByteArray, QString, int, int>("method", "framing", "pieceSize", "size");
        for (const char* method : {"GET", "POST"}) {
            for (const char* framing : {"length", "chunked", "close"}) {
                const auto row = [&](const char* name, int pieceSize, int size) {
                    QTest::addRow("%s, %s, %s", method, framing, name)
                        << QByteArray(method) << QString::fromLatin1(framing) << pieceSize << size;
                };
                row("one byte at a time", 1, 300);
                row("in one piece", 500, 500);
                row("3 MB", 40'000, 3'000'000);
            }
        }
    }
    void bodyIsExactInEveryFraming() {
        QFETCH(const QByteArray, method);
        QFETCH(const QString, framing);
        QFETCH(const int, pieceSize);
        QFETCH(const int, size);
        const QByteArray body = awkwardBytes(size);
        QByteArray headers = framing == QLatin1String("length")
                                 ? "Content-Length: " + QByteArray::number(size) + "\r\n"
                                 : QByteArray("Connection: close\r\n");
        const bool isChunked = framing == QLatin1String("chunked");
        if (isChunked)
            headers = "Transfer-Encoding: chunked\r\n";
        RawReply reply = RawReply::head(200, headers);
        for (int at = 0; at < size; at += pieceSize) {
            const QByteArray piece = body.mid(at, pieceSize);
            isChunked ? reply.chunk(piece) : reply.send(piece);
            if (pieceSize == 1)
                reply.pause();
        }
        if (isChunked)
            reply.chunk("");
        reply.close();

        RawHttpServer server(reply);
        HttpClient client;
        auto pending = client.fetch(HttpRequest(method, server.url()));
        QVERIFY(waitUntil([&] {
            server.proceed();
            return pending.isDone();
        }));
        const HttpResponse response = pending.result();
        QVERIFY(response.body == body);
    }

    void bodilessRepliesEndAtOnce_data() {
        const auto row = columns<QByteArray>("reply");
        row("204", "HTTP/1.1 204 No Content\r\n\r\n");
        row("204 after 100", "HTTP/1.1 100 Continue\r\n\r\nHTTP/1.1 204 No Content\r\n\r\n");
        row("empty chunked", "HTTP/1.1 204 OK\r\nTransfer-Encoding: chunked\r\n\r\n0\r\n\r\n");
    }
    void bodilessRepliesEndAtOnce() {
        QFETCH(const QByteArray, reply);
        RawHttpServer server;
        RawReply raw;
        server.enqueue(raw.send(reply));
        HttpClient client;
        const HttpResponse response = client.fetch(post(server.url(), "x")).result();
        QCOMPARE(response.head.status, 204);
        QCOMPARE(response.body, "");
    }

    void cookiesAreNeitherKeptNorSent() {
        RawHttpServer server(
            RawReply::complete(200, "", "Set-Cookie: session=1; Path=/\r\nCache-Control: max-age=600\r\n"));
        server.enqueue(RawReply::complete(200, "again"));
        HttpClient client;
        client.fetch(get(server.url())).result();
        auto second = client.fetch(get(server.url()));
        QCOMPARE(second.result().body, "again"); // from the server, not from a cache
        QVERIFY(!server.requests().at(1).header("Cookie"));
        QCOMPARE(server.connectionCount(), 1);
    }

    void onlyIdentityIsAskedForAndAccepted() {
        RawHttpServer server;
        server.setHandler([](const RawRequest& request) {
            return RawReply::complete(request.target == "/error" ? 503 : 200, "\x1f\x8b???",
                                      "Content-Encoding: gzip\r\n");
        });
        HttpClient client;
        QCOMPARE(client.fetch(get(server.url())).error<HttpError>().value().kind(),
                 HttpError::Kind::BrokenReply);
        QCOMPARE(server.requests().first().header("Accept-Encoding").value(), "identity");
        QCOMPARE(client.fetch(get(server.url(QStringLiteral("/error")))).result().head.status, 503);
    }

    void requestsThatAreNoHttpAreRefused_data() {
        const auto row = columns<QUrl, QByteArray>("url", "header");
        const QUrl good(QStringLiteral("http://127.0.0.1:1/"));
        row("file", QUrl(QStringLiteral("file:///etc/hostname")), "x");
        row("data", QUrl(QStringLiteral("data:text/plain,x")), "x");
        row("empty", QUrl(), "x");
        row("no host", QUrl(QStringLiteral("http:///x")), "x");
        row("line break in a header", good, "x\r\nX-Injected: 1");
        row("bare line feed in a header", good, "x\nX-Injected: 1");
    }
    void requestsThatAreNoHttpAreRefused() {
        QFETCH(const QUrl, url);
        QFETCH(const QByteArray, header);
        HttpClient client;
        HttpRequest request = get(url);
        request.headers.append("X-Name", header);
        auto pending = client.fetch(request);
        QVERIFY(pending.isDone()); // refused before anything is sent
        QCOMPARE(pending.error<HttpError>().value().kind(), HttpError::Kind::Other);
    }
};

QTEST_GUILESS_MAIN(TestHttpExchange)
#include "TestHttpExchange.moc"
