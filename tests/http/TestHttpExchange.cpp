#include "HttpClient.h"

using namespace teskal::test;

namespace {

/// Bytes that text handling of any kind would damage.
QByteArray awkwardBytes(qsizetype size) {
    QByteArray bytes(size, '\0');
    for (qsizetype i = 0; i < size; ++i)
        bytes[i] = static_cast<char>((i * 131 + i / 251) & 0xff);
    return bytes;
}

RawReply redirect(int status, const QByteArray& location) {
    return RawReply::complete(status, "moved", "Location: " + location + "\r\n");
}

HttpRequest withBearer(HttpRequest request) {
    request.headers.append("Authorization", "Bearer secret");
    return request;
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
        FETCH(int, status, QByteArray, headers);
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
        FETCH(QByteArray, method, bool, hasBody, QByteArray, body);
        RawHttpServer server(RawReply::complete(200, "ok"));
        HttpClient client;
        HttpRequest request(method, server.url(u"/api/x?a=b%20c&d=%2F"_qs));
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
        QCOMPARE(errorOf(client.fetch(get(server.url()))).kind(), HttpError::Kind::BrokenReply);
        QCOMPARE(server.requests().first().header("Accept-Encoding").value(), "identity");
        QCOMPARE(client.fetch(get(server.url(u"/error"_qs))).result().head.status, 503);
    }

    void requestsThatAreNoHttpAreRefused_data() {
        const auto row = columns<QUrl, QByteArray>("url", "header");
        const QUrl good(u"http://127.0.0.1:1/"_qs);
        row("file", QUrl(u"file:///etc/hostname"_qs), "x");
        row("data", QUrl(u"data:text/plain,x"_qs), "x");
        row("empty", QUrl(), "x");
        row("no host", QUrl(u"http:///x"_qs), "x");
        row("line break in a header", good, "x\r\nX-Injected: 1");
        row("bare line feed in a header", good, "x\nX-Injected: 1");
    }
    void requestsThatAreNoHttpAreRefused() {
        FETCH(QUrl, url, QByteArray, header);
        HttpClient client;
        HttpRequest request = get(url);
        request.headers.append("X-Name", header);
        auto pending = client.fetch(request);
        QVERIFY(pending.isDone()); // refused before anything is sent
        QCOMPARE(errorOf(pending).kind(), HttpError::Kind::Other);
    }

    void getFollowsWithinItsOrigin_data() {
        const auto row = columns<int, QByteArray, QByteArray>("status", "location", "target");
        for (const int status : {301, 302, 303, 307, 308})
            QTest::addRow("%d", status) << status << QByteArray("/there?x=1") << QByteArray("/there?x=1");
        row("relative", 302, "there", "/a/there");
        row("dots", 302, "../there", "/there");
        row("absolute", 302, "ORIGIN/there", "/there");
    }
    void getFollowsWithinItsOrigin() {
        FETCH(int, status, QByteArray, target);
        QFETCH(QByteArray, location);
        RawHttpServer server;
        location.replace("ORIGIN", "HTTP://127.0.0.1:" + QByteArray::number(server.serverPort()));
        server.enqueue(redirect(status, location));
        server.enqueue(RawReply::complete(200, "arrived"));
        HttpClient client;
        QCOMPARE(client.fetch(withBearer(get(server.url(u"/a/here"_qs)))).result().body, "arrived");
        QCOMPARE(server.requests().size(), 2);
        QCOMPARE(server.requests().at(1).target, target);
        QCOMPARE(server.requests().at(1).header("Authorization").value(), "Bearer secret");
    }

    void bearerNeverLeavesItsOrigin_data() {
        const auto row = columns<QByteArray, int, QByteArray>("method", "status", "host");
        for (const int status : {301, 302, 303, 307, 308})
            for (const QByteArray method : {"GET", "POST"})
                row((method + ' ' + QByteArray::number(status)).constData(), method, status,
                    "http://127.0.0.1");
        row("scheme left out", "GET", 302, "//127.0.0.1");
        row("other scheme", "GET", 302, "https://127.0.0.1");
        row("other name", "GET", 302, "http://localhost");
    }
    void bearerNeverLeavesItsOrigin() {
        FETCH(QByteArray, method, int, status, QByteArray, host);
        RawHttpServer elsewhere;
        RawHttpServer home(
            redirect(status, host + ":" + QByteArray::number(elsewhere.serverPort()) + "/steal"));
        HttpClient client;
        const HttpResponse response = client.fetch(withBearer(HttpRequest(method, home.url()))).result();
        QCOMPARE(response.head.status, status);
        QCOMPARE(response.body, "moved");
        QCOMPARE(home.requests().size(), 1);
        QCOMPARE(elsewhere.connectionCount(), 0);
    }

    void otherwiseTheRedirectIsTheReply_data() {
        const auto row = columns<QByteArray, RawReply>("method", "reply");
        row("POST", "POST", redirect(302, "/there"));
        row("POST 307", "POST", redirect(307, "/there"));
        row("DELETE", "DELETE", redirect(302, "/there"));
        row("no target", "GET", RawReply::complete(302, "moved"));
        row("empty target", "GET", redirect(302, ""));
        row("file", "GET", redirect(302, "file:///etc/hostname"));
        row("data", "GET", redirect(302, "data:text/plain,x"));
        row("not a URL", "GET", redirect(302, "http://[::bad"));
        row("not a redirect", "GET", redirect(300, "/there"));
    }
    void otherwiseTheRedirectIsTheReply() {
        FETCH(QByteArray, method, RawReply, reply);
        RawHttpServer server(reply);
        HttpClient client;
        const HttpResponse response = client.fetch(HttpRequest(method, server.url())).result();
        QVERIFY(response.head.status >= 300 && response.head.status < 400);
        QCOMPARE(response.body, "moved");
        QCOMPARE(server.requests().size(), 1);
    }

    void fiveAreFollowedAndNoMore() {
        RawHttpServer server;
        server.setHandler([](const RawRequest& request) {
            const int hop = request.target.mid(1).toInt();
            return hop == 5 ? RawReply::complete(200, "arrived")
                            : redirect(302, "/" + QByteArray::number(hop + 1));
        });
        HttpClient client;
        QCOMPARE(client.fetch(get(server.url(u"/0"_qs))).result().body, "arrived");
        QCOMPARE(client.fetch(get(server.url(u"/-1"_qs))).result().head.status, 302);
        QCOMPARE(server.requests().last().target, "/4");
    }
};

QTEST_GUILESS_MAIN(TestHttpExchange)
#include "TestHttpExchange.moc"
