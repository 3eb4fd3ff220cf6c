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
    void everyStatusComesBackWithItsBody_data();
    void everyStatusComesBackWithItsBody();
    void requestGoesOutAsGiven_data();
    void requestGoesOutAsGiven();
    void headersArriveAndCompareWithoutCase();
    void bodyIsExactInEveryFraming_data();
    void bodyIsExactInEveryFraming();
    void bodilessRepliesEndAtOnce_data();
    void bodilessRepliesEndAtOnce();
    void cookiesAreNeitherKeptNorSent();
    void onlyIdentityIsAskedForAndAccepted();
    void requestsThatAreNoHttpAreRefused_data();
    void requestsThatAreNoHttpAreRefused();
};

void TestHttpExchange::everyStatusComesBackWithItsBody_data() {
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("headers");
    for (const int status :
         {200, 201, 299, 300, 304, 400, 402, 403, 404, 405, 409, 410, 418, 429, 500, 501, 503, 599})
        QTest::addRow("%d", status) << status << QByteArray();
    QTest::newRow("401 without a challenge") << 401 << QByteArray();
    QTest::newRow("401 Bearer") << 401 << QByteArray("WWW-Authenticate: Bearer error=\"invalid_token\"\r\n");
    QTest::newRow("401 Basic") << 401 << QByteArray("WWW-Authenticate: Basic realm=\"x\"\r\n");
}

void TestHttpExchange::everyStatusComesBackWithItsBody() {
    QFETCH(const int, status);
    QFETCH(const QByteArray, headers);
    RawHttpServer server;
    const QByteArray body = status == 304 ? "" : "{\"error\":\"told by the service\"}";
    server.enqueue(RawReply::complete(status, body, headers));
    HttpClient client;
    HttpRequest request = post(server.url(), "x");
    request.headers.append("Authorization", "Bearer t");
    auto pending = client.fetch(request);
    const HttpResponse response = pending.result();
    QCOMPARE(response.head.status, status);
    QCOMPARE(response.body, body);
    QCOMPARE(server.requests().size(), 1);
}

void TestHttpExchange::requestGoesOutAsGiven_data() {
    QTest::addColumn<QByteArray>("method");
    QTest::addColumn<bool>("hasBody");
    QTest::addColumn<QByteArray>("body");
    QTest::newRow("GET") << QByteArray("GET") << false << QByteArray();
    QTest::newRow("DELETE") << QByteArray("DELETE") << false << QByteArray();
    QTest::newRow("DELETE with body") << QByteArray("DELETE") << true << QByteArray("{}");
    QTest::newRow("PUT") << QByteArray("PUT") << true << QByteArray("{\"a\":1}");
    QTest::newRow("POST") << QByteArray("POST") << true << awkwardBytes(1000);
    QTest::newRow("POST without body") << QByteArray("POST") << false << QByteArray();
    QTest::newRow("POST with empty body") << QByteArray("POST") << true << QByteArray();
    QTest::newRow("POST 5 MB") << QByteArray("POST") << true << awkwardBytes(5'000'000);
}

void TestHttpExchange::requestGoesOutAsGiven() {
    QFETCH(const QByteArray, method);
    QFETCH(const bool, hasBody);
    QFETCH(const QByteArray, body);
    RawHttpServer server;
    server.enqueue(RawReply::complete(200, "ok"));
    HttpClient client;
    HttpRequest request(method, server.url(QStringLiteral("/api/x?a=b%20c&d=%2F")));
    request.headers.append("Content-Type", "application/json");
    request.headers.append("X-Teskal-Client", "Teskal/1");
    if (hasBody)
        request.body = body;
    auto pending = client.fetch(request);
    QCOMPARE(pending.result().body, "ok");
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

void TestHttpExchange::headersArriveAndCompareWithoutCase() {
    RawHttpServer server;
    server.enqueue(RawReply::complete(200, "", "X-Teskal-Title: Caf%C3%A9\r\nX-Odd: \xc3\xa9\r\n"));
    HttpClient client;
    auto pending = client.fetch(get(server.url()));
    const HttpHeaders headers = pending.result().head.headers;
    QCOMPARE(headers.value("x-teskal-title").value(), "Caf%C3%A9");
    QCOMPARE(headers.value("X-Odd").value(), "\xc3\xa9");
    QVERIFY(!headers.value("X-Absent"));
}

void TestHttpExchange::bodyIsExactInEveryFraming_data() {
    QTest::addColumn<QByteArray>("method");
    QTest::addColumn<QString>("framing");
    QTest::addColumn<int>("pieceSize");
    QTest::addColumn<int>("size");
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

void TestHttpExchange::bodyIsExactInEveryFraming() {
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

    RawHttpServer server;
    server.enqueue(reply);
    HttpClient client;
    auto pending = client.fetch(HttpRequest(method, server.url()));
    QVERIFY(waitUntil([&] {
        server.proceed();
        return pending.isDone();
    }));
    const HttpResponse response = pending.result();
    QVERIFY(response.body == body);
}

void TestHttpExchange::bodilessRepliesEndAtOnce_data() {
    QTest::addColumn<QByteArray>("reply");
    QTest::newRow("204") << QByteArray("HTTP/1.1 204 No Content\r\n\r\n");
    QTest::newRow("204 after 100") << QByteArray(
        "HTTP/1.1 100 Continue\r\n\r\nHTTP/1.1 204 No Content\r\n\r\n");
    QTest::newRow("empty chunked") << QByteArray(
        "HTTP/1.1 204 OK\r\nTransfer-Encoding: chunked\r\n\r\n0\r\n\r\n");
}

void TestHttpExchange::bodilessRepliesEndAtOnce() {
    QFETCH(const QByteArray, reply);
    RawHttpServer server;
    RawReply raw;
    server.enqueue(raw.send(reply));
    HttpClient client;
    auto pending = client.fetch(post(server.url(), "x"));
    const HttpResponse response = pending.result();
    QCOMPARE(response.head.status, 204);
    QCOMPARE(response.body, "");
}

void TestHttpExchange::cookiesAreNeitherKeptNorSent() {
    RawHttpServer server;
    server.enqueue(
        RawReply::complete(200, "", "Set-Cookie: session=1; Path=/\r\nCache-Control: max-age=600\r\n"));
    server.enqueue(RawReply::complete(200, "again"));
    HttpClient client;
    auto first = client.fetch(get(server.url()));
    first.result();
    auto second = client.fetch(get(server.url()));
    QCOMPARE(second.result().body, "again"); // from the server, not from a cache
    QVERIFY(!server.requests().at(1).header("Cookie"));
    QCOMPARE(server.connectionCount(), 1);
}

void TestHttpExchange::onlyIdentityIsAskedForAndAccepted() {
    RawHttpServer server;
    server.setHandler([](const RawRequest& request) {
        return RawReply::complete(request.target == "/error" ? 503 : 200, "\x1f\x8b???",
                                  "Content-Encoding: gzip\r\n");
    });
    HttpClient client;
    auto answer = client.fetch(get(server.url()));
    QCOMPARE(answer.error<HttpError>().value().kind(), HttpError::Kind::BrokenReply);
    QCOMPARE(server.requests().first().header("Accept-Encoding").value(), "identity");
    auto failure = client.fetch(get(server.url(QStringLiteral("/error"))));
    QCOMPARE(failure.result().head.status, 503);
}

void TestHttpExchange::requestsThatAreNoHttpAreRefused_data() {
    QTest::addColumn<QUrl>("url");
    QTest::addColumn<QByteArray>("header");
    const QUrl good(QStringLiteral("http://127.0.0.1:1/"));
    QTest::newRow("file") << QUrl(QStringLiteral("file:///etc/hostname")) << QByteArray("x");
    QTest::newRow("data") << QUrl(QStringLiteral("data:text/plain,x")) << QByteArray("x");
    QTest::newRow("empty") << QUrl() << QByteArray("x");
    QTest::newRow("no host") << QUrl(QStringLiteral("http:///x")) << QByteArray("x");
    QTest::newRow("line break in a header") << good << QByteArray("x\r\nX-Injected: 1");
    QTest::newRow("bare line feed in a header") << good << QByteArray("x\nX-Injected: 1");
}

void TestHttpExchange::requestsThatAreNoHttpAreRefused() {
    QFETCH(const QUrl, url);
    QFETCH(const QByteArray, header);
    HttpClient client;
    HttpRequest request = get(url);
    request.headers.append("X-Name", header);
    auto pending = client.fetch(request);
    QVERIFY(pending.isDone()); // refused before anything is sent
    QCOMPARE(pending.error<HttpError>().value().kind(), HttpError::Kind::Other);
}

QTEST_GUILESS_MAIN(TestHttpExchange)
#include "TestHttpExchange.moc"
