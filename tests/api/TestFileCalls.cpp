#include "ApiClient.h"
#include "Columns.h"

#include <QTemporaryDir>
#include <QTest>

using namespace teskal;
using namespace teskal::test;

/// Files to and from the service, and the jobs that make some.
class TestFileCalls final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void upload_data() {
        const auto row = columns<int, QByteArray, QString>("status", "reply", "outcome");
        const QString notStored = QStringLiteral("API 502 -: The file wasn’t stored.");
        row("stored", 200, R"({"id": "file-1", "size": 4})", "file-1");
        row("no id", 200, "{}", notStored);
        row("id of another type", 201, R"({"id": 7})", notStored);
        row("not JSON", 200, "file-1", notStored);
        row("too large", 413, R"({"error": "Too large"})", "API 413 -: Too large");
    }
    void upload() {
        QFETCH(const int, status);
        QFETCH(const QByteArray, reply);
        const QByteArray bytes("\0\xFF\r\n", 4);
        RawHttpServer server(RawReply::complete(status, reply));
        const ApiClient client(server.url());
        auto call = start([&](std::stop_token stop) {
            return client.api.uploadFile(bytes, QStringLiteral("image/png"), stop);
        });
        const auto end = ended(call);
        QTEST(end.value.value_or(end.failure), "outcome");
        QVERIFY(onlyRequest(server).startsWith(QLatin1String("POST /api/files no JSON: ")));
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
        QFETCH(const int, status);
        QFETCH(const QByteArray, headers);
        const QByteArray body = R"({"error": "bytes"})";
        RawHttpServer server(RawReply::complete(status, body, headers));
        const ApiClient client(server.url());
        const QTemporaryDir folder;
        const QString path = folder.filePath(QStringLiteral("file"));
        auto call = start([&](std::stop_token stop) {
            return client.api.downloadFile(QStringLiteral("a&id=b%/é+?~"), path, stop);
        });
        const auto end = ended(call);
        QTEST(end.value.value_or(end.failure), "outcome");
        QCOMPARE(onlyRequest(server), QStringLiteral("GET /api/files?id=a%26id%3Db%25%2F%C3%A9%2B%3F~"));
        QFile file(path);
        QCOMPARE(file.open(QFile::ReadOnly), status == 200);
        if (status == 200)
            QCOMPARE(file.readAll(), body);
    }

    void filesInMemoryHaveALimit_data() {
        const auto row = columns<qint64, HttpError::Kind>("size", "end");
        const qint64 most = 256 * 1024 * 1024;
        row("most", most, HttpError::Kind::ConnectionLost);
        row("more", most + 1, HttpError::Kind::TooLarge);
    }
    void filesInMemoryHaveALimit() {
        QFETCH(const qint64, size);
        RawHttpServer server(
            RawReply::head(200, "Content-Length: " + QByteArray::number(size) + "\r\n").send("x").close());
        const ApiClient client(server.url());
        auto call =
            start([&](std::stop_token stop) { return client.api.readFile(QStringLiteral("f-12"), stop); });
        const auto error = call.error<HttpError>();
        QVERIFY(error);
        QTEST(error->kind(), "end");
    }

    void jobs_data() {
        const auto row = columns<QByteArray, JobStatus, QString>("reply", "job", "end");
        const auto text = [](const char* utf8) { return QString::fromUtf8(utf8); };
        const JobStatus pending;
        const QString running = text("running");
        row("empty object", "{}", pending, running);
        row("no object", R"(["done"])", pending, running);
        row("not JSON", "done", pending, running);
        row("mistyped", R"({"status": 1, "fileId": {}, "url": null, "message": ["m"]})", pending, running);
        row("done", R"({"status": "done", "fileId": "f-12", "url": "tel:1",
                                            "mediaType": "video/mp4", "lyrics": "La", "message": "m"})",
            JobStatus{text("done"), text("f-12"), text("tel:1"), text("video/mp4"), text("La"), text("m")},
            text("done"));
        JobStatus job;
        job.status = text("complete");
        row("complete", R"({"status": "complete"})", job, text("done"));
        job.status = text("error");
        job.message = text("Refused");
        row("error", R"({"status": "error", "message": "Refused"})", job, text("failed"));
    }
    void jobs() {
        QFETCH(const QByteArray, reply);
        QFETCH(const JobStatus, job);
        RawHttpServer server(RawReply::complete(200, reply));
        const ApiClient client(server.url());
        const JobStatus status = waitFor([&](std::stop_token stop) {
            return client.api.jobStatus(QStringLiteral("music"), QStringLiteral("t&=/ 1"), stop);
        });
        QVERIFY(status == job);
        QTEST(status.isDone()     ? QStringLiteral("done")
              : status.isFailed() ? QStringLiteral("failed")
                                  : QStringLiteral("running"),
              "end");
        QCOMPARE(onlyRequest(server), QStringLiteral("GET /api/music?job=t%26%3D%2F%201"));
    }

    void oddKindsAreNeverAsked_data() {
        QTest::addColumn<QString>("kind");
        for (const char* kind : {"", "image", "../keys", "video?x=", "Video"})
            QTest::newRow(kind) << QString::fromLatin1(kind);
    }
    void oddKindsAreNeverAsked() {
        QFETCH(const QString, kind);
        const RawHttpServer server;
        const ApiClient client(server.url());
        auto call = start([&](std::stop_token stop) { return client.api.jobStatus(kind, kind, stop); });
        QCOMPARE(ended(call).failure, QStringLiteral("API 400 BAD_KIND: This job cannot be followed."));
        QCOMPARE(server.connectionCount(), 0);
    }
};

QTEST_GUILESS_MAIN(TestFileCalls)
#include "TestFileCalls.moc"
