#include "ApiClient.h"
#include "Columns.h"

using namespace teskal::test;

/// Files to and from the service.
class TestFileCalls final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void upload_data() {
        const auto row = columns<int, QByteArray, QString>("status", "reply", "outcome");
        const QString notStored = u"API 502 -: The file wasn’t stored."_qs;
        row("stored", 200, R"({"id": "file-1", "size": 4})", "file-1");
        row("no id", 200, "{}", notStored);
        row("id of another type", 201, R"({"id": 7})", notStored);
        row("not JSON", 200, "file-1", notStored);
        row("too large", 413, R"({"error": "Too large"})", "API 413 -: Too large");
    }
    void upload() {
        FETCH(int, status, QByteArray, reply);
        const QByteArray bytes("\0\xFF\r\n", 4);
        RawHttpServer server(RawReply::complete(status, reply));
        const ApiClient client(server.url());
        auto call =
            start([&](std::stop_token stop) { return client.api.uploadFile(bytes, u"image/png"_qs, stop); });
        const auto end = ended(call);
        QTEST(end.value.value_or(end.failure), "outcome");
        QVERIFY(onlyRequest(server).startsWith(u"POST /api/files no JSON: "));
        QCOMPARE(server.requests().first().header("Content-Type").value(), "image/png");
        QVERIFY(server.requests().first().body == bytes);
    }

    void download_data() {
        const auto row = columns<int, QByteArray, QString>("status", "headers", "outcome");
        row("plain", 200, "Content-Type: video/mp4\r\n", "video/mp4");
        row("with parameters", 200, "Content-Type: text/plain ; charset=utf-8; x=y\r\n", "text/plain");
        row("without a type", 200, "", "application/octet-stream");
        row("parameters alone", 200, "Content-Type: ;charset=utf-8\r\n", "application/octet-stream");
        row("unknown", 404, "Content-Type: text/plain\r\n", "API 404 -: bytes");
    }
    void download() {
        FETCH(int, status, QByteArray, headers);
        const QByteArray body = R"({"error": "bytes"})";
        RawHttpServer server(RawReply::complete(status, body, headers));
        const ApiClient client(server.url());
        const QTemporaryDir folder;
        const QString path = folder.filePath(u"file"_qs);
        auto call = start(
            [&](std::stop_token stop) { return client.api.downloadFile(u"a&id=b%/é+?~"_qs, path, stop); });
        const auto end = ended(call);
        QTEST(end.value.value_or(end.failure), "outcome");
        QCOMPARE(onlyRequest(server), u"GET /api/files?id=a%26id%3Db%25%2F%C3%A9%2B%3F~"_qs);
        QFile file(path);
        QCOMPARE(file.open(QFile::ReadOnly), status == 200);
        if (status == 200)
            QCOMPARE(file.readAll(), body);
    }

    void oddKindsAreNeverAsked_data() { rowsOf("kind", {"", "image", "../keys", "video?x=", "Video"}); }
    void oddKindsAreNeverAsked() {
        QFETCH(const QString, kind);
        const RawHttpServer server;
        const ApiClient client(server.url());
        auto call = start([&](std::stop_token stop) { return client.api.jobStatus(kind, kind, stop); });
        QCOMPARE(ended(call).failure, u"API 400 BAD_KIND: This job cannot be followed."_qs);
        QCOMPARE(server.connectionCount(), 0);
    }
};

QTEST_GUILESS_MAIN(TestFileCalls)
#include "TestFileCalls.moc"
