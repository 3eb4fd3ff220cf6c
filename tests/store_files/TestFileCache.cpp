#include "Columns.h"
#include "FileCache.h"

#include "FileError.h"
#include "ManualClock.h"
#include "Pending.h"
#include "RawHttpServer.h"
#include "ReadyToken.h"
#include "TestFiles.h"

#include <QScopeGuard>

#include <semaphore>

using namespace teskal::test;

namespace {

using Keep = FileCache::Keep;

const QString id = u"file-1"_qs;
const QByteArray png = "Content-Type: image/png; x=y\r\n";

QByteArray content(const CachedFile& file) {
    return file.isInMemory() ? file.bytes : contentOf(file.path);
}

} // namespace

/// The cache of files over a folder of its own and a scripted service.
class TestFileCache final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void init() {
        folder_ = std::make_unique<QTemporaryDir>();
        server_ = std::make_unique<RawHttpServer>();
        auto worker = std::make_unique<SerialWorker>();
        worker_ = worker.get();
        cache_ = std::make_unique<FileCache>(cacheFolder(), std::move(worker));
        claim(u"anna"_qs);
        cache_->flush(); // what a test puts beside the cache is no leftover of the claim
    }

    void cleanup() { cache_.reset(); }

    void oddIdentifiersTouchNothing_data() {
        const auto row = columns<QString>("odd");
        for (const char* odd : {"", "abc", "../x", "a/b/c", "..", "name.type", "na me", "/etc/passwd"})
            row(odd, odd);
        row("NUL", u"file%1x"_qs.arg(QChar(u'\0')));
        row("65 characters", QString(65, QLatin1Char('a')));
        row("not ASCII", QString::fromUtf8("filé"));
    }
    void oddIdentifiersTouchNothing() {
        QFETCH(const QString, odd);
        for (const Keep keep : {Keep::OnDisk, Keep::InMemory}) {
            cache_->store("bytes", u"text/plain"_qs, odd, keep);
            auto call = local(odd, keep);
            QVERIFY(call.error<FileError>());
        }
        cache_->flush();
        QVERIFY(QDir(folder_->path()).isEmpty());
        QCOMPARE(server_->connectionCount(), 0);
    }

    void storedBytesAreThereAtOnceAndLater() {
        const QByteArray bytes(2'000'000, 'b');
        cache_->store("old", u"text/plain"_qs, id);
        cache_->store(bytes, u"image/png"_qs, id);
        QVERIFY(content(local().result()) == bytes);
        cache_->flush();
        cache_ = std::make_unique<FileCache>(cacheFolder()); // whoever is signed in
        const CachedFile file = local().result();
        QCOMPARE(file.path, path(id));
        QCOMPARE(file.mediaType, u"image/png"_qs);
        QVERIFY(content(file) == bytes);
        QCOMPARE(names(), QStringList({id, id + u".type"_qs}));
        const auto others = QFile::ReadGroup | QFile::WriteGroup | QFile::ExeGroup | QFile::ReadOther |
                            QFile::WriteOther | QFile::ExeOther;
        for (const QString& made : {cacheFolder(), path(id), path(id + u".type"_qs)})
            QVERIFY(!(QFile::permissions(made) & others));
        QCOMPARE(server_->connectionCount(), 0);
    }

    void requestsShareOneDownload() {
        server_->enqueue(RawReply::head(200, png + "Content-Length: 4\r\n").send("by").pause().send("te"));
        auto first = local();
        auto second = local();
        auto hidden = local(id, Keep::InMemory);
        QVERIFY(isHeld());
        server_->proceed();
        for (auto* call : {&first, &second, &hidden}) {
            const CachedFile file = call->result();
            QCOMPARE(file.path, path(id));
            QCOMPARE(file.mediaType, u"image/png"_qs);
            QCOMPARE(content(file), "byte");
        }
        QCOMPARE(local().result().path, path(id));
        QCOMPARE(server_->requests().size(), 1);
        QCOMPARE(server_->requests().first().target, "/api/files?id=file-1");
        QCOMPARE(names(), QStringList({id, id + u".type"_qs}));
        QVERIFY(!(QFile::permissions(path(id)) & (QFile::ReadGroup | QFile::ReadOther)));
    }

    void aStoppedWaitAndTheSameAccountAgainEndNoOther() {
        server_->enqueue(RawReply::head(200, "Content-Length: 4\r\n").pause().send("byte"));
        auto stopped = local();
        auto other = local();
        QVERIFY(isHeld());
        stopped.stop();
        QVERIFY(stopped.error<Cancelled>());
        claim(u"anna"_qs);
        server_->proceed();
        QCOMPARE(content(other.result()), "byte");
        QCOMPARE(server_->requests().size(), 1);
    }

    void typesAndPartsOnDisk() {
        put(id, "kept");
        QCOMPARE(local().result().mediaType, u"application/octet-stream"_qs);
        put(u"file-2.part"_qs, "a longer beginning of another time");
        server_->enqueue(RawReply::complete(200, "whole", png));
        QCOMPARE(content(local(u"file-2"_qs).result()), "whole");
        QVERIFY(!names().contains(u"file-2.part"_qs));
        QCOMPARE(server_->requests().size(), 1);
    }

    void failedDownloadLeavesNothing_data() {
        // status: 0 when the connection was lost
        const auto row = columns<RawReply, int>("reply", "status");
        row("cut", RawReply::head(200, "Content-Length: 9\r\n").send("half").close(), 0);
        row("reset", RawReply::head(200, "Content-Length: 9\r\n").send("half").reset(), 0);
        row("unknown", RawReply::complete(404, R"({"error": "Gone"})"), 404);
    }
    void failedDownloadLeavesNothing() {
        FETCH(RawReply, reply, int, status);
        server_->enqueue(reply);
        auto first = local();
        auto second = local();
        if (status == 0) {
            QCOMPARE(first.error<HttpError>().value().kind(), HttpError::Kind::ConnectionLost);
            QVERIFY(second.error<HttpError>());
        } else {
            QCOMPARE(first.error<APIError>().value().status(), status);
            QVERIFY(second.error<APIError>());
        }
        QCOMPARE(names(), QStringList());
        server_->enqueue(RawReply::complete(200, "whole"));
        QCOMPARE(content(local().result()), "whole");
    }

    void anotherAccountEndsDownloads_data() {
        columns<RawReply, bool>("reply", "inMemory");
        const std::pair<const char*, RawReply> moments[] = {
            {"before the headers", RawReply().pause()},
            {"inside", RawReply::head(200, "Content-Length: 9\r\n").send("anna's").pause()},
            {"before the request", RawReply()}};
        for (const bool memory : {false, true})
            for (const auto& [when, reply] : moments)
                QTest::addRow("%s, %s", when, memory ? "memory" : "disk") << reply << memory;
    }
    void anotherAccountEndsDownloads() {
        FETCH(RawReply, reply, bool, inMemory);
        const Keep keep = inMemory ? Keep::InMemory : Keep::OnDisk;
        server_->setHandler([reply](const RawRequest& request) {
            return request.header("Authorization") == "Bearer anna" ? reply
                                                                    : RawReply::complete(200, "bert's");
        });
        auto call = local(id, keep);
        QVERIFY(reply.steps().empty() || isHeld());
        QVERIFY(!call.isDone());
        claim(u"bert"_qs);
        QVERIFY(call.error<Cancelled>());
        cache_->flush();
        QVERIFY(!names().contains(id));
        QCOMPARE(content(local(id, keep).result()), "bert's");
        cache_->claim(std::nullopt, std::nullopt);
        auto unknown = local(u"file-9"_qs);
        QCOMPARE(unknown.error<APIError>().value().status(), 401);
    }

    void anotherAccountEndsTheLastStepToo() {
        server_->enqueue(RawReply::head(200, "Content-Length: 6\r\n").pause().send("anna's"));
        auto call = local();
        QVERIFY(isHeld());
        // Holds the worker, so that the whole download waits for its place.
        std::binary_semaphore gate(0);
        worker_->run([&] { gate.acquire(); }, nullptr);
        {
            const auto opened = qScopeGuard([&] { gate.release(); });
            server_->proceed();
            QVERIFY(waitUntil([&] { return QFile::exists(path(id + u".part"_qs)); }));
            runQueued();
            QVERIFY(!call.isDone());
            claim(u"bert"_qs);
            QVERIFY(call.error<Cancelled>());
        }
        cache_->flush();
        QCOMPARE(names(), QStringList());
    }

    void privateFilesStayInMemory() {
        const QString other = u"file-2"_qs;
        cache_->store("made here", u"image/jpeg"_qs, other, Keep::InMemory);
        server_->setHandler([](const RawRequest&) { return RawReply::complete(200, "fetched", png); });
        const CachedFile fetched = local(id, Keep::InMemory).result();
        QVERIFY(fetched.isInMemory());
        QCOMPARE(fetched.bytes, "fetched");
        QCOMPARE(fetched.mediaType, u"image/png"_qs);
        QCOMPARE(local(id, Keep::InMemory).result(), fetched);
        QCOMPARE(local(other, Keep::InMemory).result().bytes, "made here");
        QCOMPARE(server_->requests().size(), 1);
        cache_->flush();
        QVERIFY(QDir(folder_->path()).isEmpty());

        cache_->forgetPrivate();
        local(other, Keep::InMemory).result();
        QCOMPARE(server_->requests().size(), 2);
    }

    void privateDownloadsEndWithTheChat() {
        for (const char* body : {"private", "saved"})
            server_->enqueue(RawReply::head(200, "Content-Length: 9\r\n").pause().send(body).send("  "));
        auto hidden = local(id, Keep::InMemory);
        QVERIFY(isHeld());
        auto saved = local(u"file-2"_qs);
        QVERIFY(isHeld(2));
        cache_->forgetPrivate();
        QVERIFY(hidden.error<Cancelled>());
        QVERIFY(!saved.isDone());
    }

    void leftoversGoWithTheClaim() {
        const QStringList kept{u"file-1"_qs, u"file-1.type"_qs, u"notes.txt"_qs};
        const QStringList left{u"file-1.part"_qs, u"file-1.part.aBcDeF"_qs, u"file-1.aBcDeF"_qs,
                               u"file-1.type.aBcDeF"_qs};
        for (const QString& name : kept + left)
            put(name, "x");
        claim(u"bert"_qs);
        cache_->flush();
        QCOMPARE(names(), kept);
    }

    void diskThatRefuses() {
        QFile obstacle(folder_->filePath(u"Teskal"_qs));
        QVERIFY(obstacle.open(QFile::WriteOnly));
        cache_->store("bytes", u"text/plain"_qs, id);
        cache_->flush();
        auto call = local();
        QVERIFY(call.error<FileError>());
        QCOMPARE(server_->connectionCount(), 0);
    }

    void endOfTheCacheEndsItsWaits() {
        server_->enqueue(RawReply::head(200, "Content-Length: 9\r\n").pause());
        auto call = local();
        QVERIFY(isHeld());
        cache_.reset();
        QVERIFY(call.error<Cancelled>());
        QVERIFY(waitUntil([&] { return server_->openConnections() == 0; }));
    }

private:
    TeskalAPI api(const QString& token) {
        return {server_->url(), [token](std::stop_token) { return readyToken(token); }, session_, clock_,
                QString()};
    }
    bool isHeld(int count = 1) const {
        return waitUntil([&] { return server_->pausedCount() == count; });
    }
    void claim(const QString& owner) { cache_->claim(owner, api(owner)); }
    Pending<CachedFile> local(const QString& file = id, Keep keep = Keep::OnDisk) {
        return start([&](std::stop_token stop) { return cache_->local(file, std::move(stop), keep); });
    }
    QString path(const QString& name) const { return cacheFolder() + QLatin1Char('/') + name; }
    QString cacheFolder() const { return folder_->filePath(u"Teskal/Files"_qs); }
    QStringList names() const { return QDir(cacheFolder()).entryList(QDir::Files | QDir::Hidden); }
    void put(const QString& name, const QByteArray& bytes) const { writeFile(path(name), bytes); }

    ManualClock clock_;
    HttpSession session_{clock_};
    std::unique_ptr<QTemporaryDir> folder_;
    std::unique_ptr<RawHttpServer> server_;
    std::unique_ptr<FileCache> cache_;
    SerialWorker* worker_ = nullptr; ///< the cache's
};

QTEST_GUILESS_MAIN(TestFileCache)
#include "TestFileCache.moc"
