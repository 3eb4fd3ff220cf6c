#include "HttpClient.h"
#include "RawHttpServer.h"

#include <QTest>

using namespace teskal;
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
    void getFollowsWithinItsOrigin_data();
    void getFollowsWithinItsOrigin();
    void bearerNeverLeavesItsOrigin_data();
    void bearerNeverLeavesItsOrigin();
    void otherwiseTheRedirectIsTheReply_data();
    void otherwiseTheRedirectIsTheReply();
    void fiveAreFollowedAndNoMore();
};

void TestHttpRedirects::getFollowsWithinItsOrigin_data() {
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("location");
    QTest::addColumn<QByteArray>("target");
    for (const int status : {301, 302, 303, 307, 308})
        QTest::addRow("%d", status) << status << QByteArray("/there?x=1") << QByteArray("/there?x=1");
    QTest::newRow("relative") << 302 << QByteArray("there") << QByteArray("/a/there");
    QTest::newRow("dots") << 302 << QByteArray("../there") << QByteArray("/there");
    QTest::newRow("absolute") << 302 << QByteArray("ORIGIN/there") << QByteArray("/there");
}

void TestHttpRedirects::getFollowsWithinItsOrigin() {
    QFETCH(const int, status);
    QFETCH(QByteArray, location);
    QFETCH(const QByteArray, target);
    RawHttpServer server;
    location.replace("ORIGIN", "HTTP://127.0.0.1:" + QByteArray::number(server.serverPort()));
    server.enqueue(redirect(status, location));
    server.enqueue(RawReply::complete(200, "arrived"));
    HttpClient client;
    auto fetching = client.fetch(withBearer(get(server.url(QStringLiteral("/a/here")))));
    QCOMPARE(fetching.result().body, "arrived");
    QCOMPARE(server.requests().size(), 2);
    QCOMPARE(server.requests().at(1).target, target);
    QCOMPARE(server.requests().at(1).header("Authorization").value(), "Bearer secret");
}

void TestHttpRedirects::bearerNeverLeavesItsOrigin_data() {
    QTest::addColumn<QByteArray>("method");
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("host");
    for (const int status : {301, 302, 303, 307, 308}) {
        QTest::addRow("GET %d", status) << QByteArray("GET") << status << QByteArray("http://127.0.0.1");
        QTest::addRow("POST %d", status) << QByteArray("POST") << status << QByteArray("http://127.0.0.1");
    }
    QTest::newRow("scheme left out") << QByteArray("GET") << 302 << QByteArray("//127.0.0.1");
    QTest::newRow("other scheme") << QByteArray("GET") << 302 << QByteArray("https://127.0.0.1");
    QTest::newRow("other name") << QByteArray("GET") << 302 << QByteArray("http://localhost");
}

void TestHttpRedirects::bearerNeverLeavesItsOrigin() {
    QFETCH(const QByteArray, method);
    QFETCH(const int, status);
    QFETCH(const QByteArray, host);
    RawHttpServer home;
    RawHttpServer elsewhere;
    home.enqueue(redirect(status, host + ":" + QByteArray::number(elsewhere.serverPort()) + "/steal"));
    HttpClient client;
    auto fetching = client.fetch(withBearer(HttpRequest(method, home.url())));
    const HttpResponse response = fetching.result();
    QCOMPARE(response.head.status, status);
    QCOMPARE(response.body, "moved");
    QCOMPARE(home.requests().size(), 1);
    QCOMPARE(elsewhere.connectionCount(), 0);
}

void TestHttpRedirects::otherwiseTheRedirectIsTheReply_data() {
    QTest::addColumn<QByteArray>("method");
    QTest::addColumn<RawReply>("reply");
    QTest::newRow("POST") << QByteArray("POST") << redirect(302, "/there");
    QTest::newRow("POST 307") << QByteArray("POST") << redirect(307, "/there");
    QTest::newRow("DELETE") << QByteArray("DELETE") << redirect(302, "/there");
    QTest::newRow("no target") << QByteArray("GET") << RawReply::complete(302, "moved");
    QTest::newRow("empty target") << QByteArray("GET") << redirect(302, "");
    QTest::newRow("file") << QByteArray("GET") << redirect(302, "file:///etc/hostname");
    QTest::newRow("data") << QByteArray("GET") << redirect(302, "data:text/plain,x");
    QTest::newRow("not a URL") << QByteArray("GET") << redirect(302, "http://[::bad");
    QTest::newRow("not a redirect") << QByteArray("GET") << redirect(300, "/there");
}

void TestHttpRedirects::otherwiseTheRedirectIsTheReply() {
    QFETCH(const QByteArray, method);
    QFETCH(const RawReply, reply);
    RawHttpServer server;
    server.enqueue(reply);
    HttpClient client;
    auto fetching = client.fetch(HttpRequest(method, server.url()));
    const HttpResponse response = fetching.result();
    QVERIFY(response.head.status >= 300 && response.head.status < 400);
    QCOMPARE(response.body, "moved");
    QCOMPARE(server.requests().size(), 1);
}

void TestHttpRedirects::fiveAreFollowedAndNoMore() {
    RawHttpServer server;
    server.setHandler([](const RawRequest& request) {
        const int hop = request.target.mid(1).toInt();
        return hop == 5 ? RawReply::complete(200, "arrived")
                        : redirect(302, "/" + QByteArray::number(hop + 1));
    });
    HttpClient client;
    auto five = client.fetch(get(server.url(QStringLiteral("/0"))));
    QCOMPARE(five.result().body, "arrived");
    auto six = client.fetch(get(server.url(QStringLiteral("/-1"))));
    QCOMPARE(six.result().head.status, 302);
    QCOMPARE(server.requests().last().target, "/4");
}

QTEST_GUILESS_MAIN(TestHttpRedirects)
#include "TestHttpRedirects.moc"
