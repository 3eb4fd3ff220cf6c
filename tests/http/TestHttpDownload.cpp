#include "Cancelled.h"
#include "FileError.h"
#include "HttpClient.h"
#include "TestFiles.h"

using namespace teskal::test;
using namespace std::chrono_literals;

namespace {

const QByteArray sized = "Content-Length: 2000000\r\n";

/// Sizes of the files below \a folder that this process has open; a download's own has no name until its end.
QList<qint64> openFiles(const QString& folder) {
    QList<qint64> sizes;
    for (const QFileInfo& handle : QDir(u"/proc/self/fd"_qs).entryInfoList(QDir::Files | QDir::System))
        if (handle.symLinkTarget().startsWith(folder + QLatin1Char('/'))) {
            QFile file(handle.filePath());
            if (file.open(QFile::ReadOnly))
                sizes.append(file.size());
        }
    return sizes;
}

} // namespace

/// Bodies that go to a file.
class TestHttpDownload final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void init() { folder_ = std::make_unique<QTemporaryDir>(); }

    void bodyReplacesTheFile_data() {
        const auto row = columns<bool, QByteArray>("isOldThere", "body");
        row("new", false, QByteArray(3'000'000, 'x'));
        row("in place of another", true, QByteArray("n\0w\r\n", 5));
        row("empty", true, QByteArray());
    }
    void bodyReplacesTheFile() {
        FETCH(bool, isOldThere, QByteArray, body);
        if (isOldThere)
            putOldFile();
        RawHttpServer server(RawReply::complete(201, body, "Content-Type: image/png\r\n"));
        HttpClient client;
        const HttpResponse response = download(client, server).result();
        QCOMPARE(response.head.status, 201);
        QCOMPARE(response.head.headers.value("Content-Type"), "image/png");
        QVERIFY(response.body.isEmpty());
        QVERIFY(contentOf(path()) == body);
        QCOMPARE(names(), QStringList(u"file"_qs));
        const auto others = QFile::ReadGroup | QFile::WriteGroup | QFile::ReadOther | QFile::WriteOther;
        QVERIFY(!(QFile::permissions(path()) & others));
    }

    void bodyIsWrittenAsItArrives() {
        putOldFile();
        RawHttpServer server(RawReply::head(200, sized).send(QByteArray(1'000'000, 'a')).pause());
        HttpClient client;
        const auto call = download(client, server);
        QVERIFY(waitUntil([&] {
            const QList<qint64> sizes = openFiles(folder_->path());
            return sizes.size() == 1 && sizes.first() > 900'000;
        }));
        QVERIFY(!call.isDone());
        QCOMPARE(contentOf(path()), "old");
    }

    void failureLeavesWhatWasThere_data() {
        // how: what happens once the reply pauses
        columns<RawReply, QString, bool>("reply", "how", "isOldThere");
        const RawReply begun = RawReply::head(200, sized).send(QByteArray(500'000, 'a')).pause();
        const auto row = [](const char* name, const RawReply& reply, const QString& how) {
            for (const bool old : {true, false})
                QTest::addRow("%s, %s file", name, old ? "old" : "no") << reply << how << old;
        };
        for (const char* how : {"stop", "destroy", "silence"})
            row(how, begun, QString::fromLatin1(how));
        row("closed", RawReply(begun).close(), u"lost"_qs);
        row("reset", RawReply(begun).reset(), u"lost"_qs);
        row("cut chunks", RawReply::head(200, "Transfer-Encoding: chunked\r\n").chunk("abc").pause().close(),
            u"lost"_qs);
    }
    void failureLeavesWhatWasThere() {
        FETCH(RawReply, reply, QString, how, bool, isOldThere);
        if (isOldThere)
            putOldFile();
        const QStringList before = names();
        RawHttpServer server(reply);
        HttpClient client;
        auto call = download(client, server);
        QVERIFY(
            waitUntil([&] { return openFiles(folder_->path()).size() == 1 && server.pausedCount() == 1; }));
        if (how == u"stop" || how == u"destroy") {
            how == u"stop" ? call.stop() : call.destroyScope();
            QVERIFY(call.error<Cancelled>());
        } else if (how == u"lost") {
            server.proceed();
            QCOMPARE(errorOf(call).kind(), HttpError::Kind::ConnectionLost);
        } else {
            QVERIFY(waitUntil([&] {
                client.clock.advance(60s);
                return call.isDone();
            }));
            QCOMPARE(errorOf(call).kind(), HttpError::Kind::TimedOut);
        }
        QCOMPARE(names(), before);
        QVERIFY(openFiles(folder_->path()).isEmpty());
        QCOMPARE(contentOf(path()), isOldThere ? QByteArray("old") : QByteArray());
    }

    void otherStatusesGiveTheirWords_data() {
        const auto row = columns<RawReply, int, QByteArray>("reply", "status", "body");
        const QByteArray words = R"({"error": "Gone"})";
        row("404", RawReply::complete(404, words), 404, words);
        row("elsewhere", RawReply::complete(302, "", "Location: http://127.0.0.1:1/x\r\n"), 302,
            QByteArray());
        row("cut", RawReply::head(500, sized).send(words).close(), 500, QByteArray());
        row("endless", RawReply::head(500, sized).send(QByteArray(1'100'000, ' ')).pause(), 500,
            QByteArray());
    }
    void otherStatusesGiveTheirWords() {
        FETCH(RawReply, reply, QByteArray, body);
        putOldFile();
        RawHttpServer server(reply);
        HttpClient client;
        const HttpResponse response = download(client, server).result();
        QTEST(response.head.status, "status");
        QCOMPARE(response.body, body);
        QCOMPARE(names(), QStringList(u"file"_qs));
        QCOMPARE(contentOf(path()), "old");
    }

    void refusalsOfTheFileSystem_data() {
        // obstacle: made below the folder
        const auto row = columns<QString, QString>("obstacle", "destination");
        row("no folder", QString(), "none/file");
        row("a folder in its place", "file/inside", "file");
    }
    void refusalsOfTheFileSystem() {
        FETCH(QString, obstacle, QString, destination);
        QVERIFY(obstacle.isEmpty() || QDir(folder_->path()).mkpath(obstacle));
        const QStringList before = names();
        RawHttpServer server(RawReply::complete(200, "body"));
        HttpClient client;
        auto call = start([&](std::stop_token token) {
            return client.session.download(get(server.url()), folder_->filePath(destination), token);
        });
        QVERIFY(call.error<FileError>());
        QCOMPARE(names(), before);
    }

private:
    QString path() const { return folder_->filePath(u"file"_qs); }
    QStringList names() const {
        return QDir(folder_->path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot);
    }
    void putOldFile() const { writeFile(path(), "old"); }
    Pending<HttpResponse> download(HttpClient& client, const RawHttpServer& server) const {
        return start(
            [&](std::stop_token token) { return client.session.download(get(server.url()), path(), token); });
    }

    std::unique_ptr<QTemporaryDir> folder_;
};

QTEST_GUILESS_MAIN(TestHttpDownload)
#include "TestHttpDownload.moc"
