#include "HttpClient.h"

using namespace teskal::test;

namespace {

RawReply redirect(int status, const QByteArray& location) {
    return RawReply::complete(status, "moved", "Location: " + location + "\r\n");
}

HttpRequest withBearer(HttpRequest request) {
    request.headers.append("Authorization", "Bearer secret");
    return request;
}

} // namespace

class TestHttpRedirects final : public QObject {
    Q_OBJECT
private Q_SLOTS:
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

QTEST_GUILESS_MAIN(TestHttpRedirects)
#include "TestHttpRedirects.moc"
