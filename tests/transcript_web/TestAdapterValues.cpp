#include "ByteRange.h"
#include "Columns.h"
#include "Completion.h"
#include "ContentType.h"
#include "CrashLimit.h"
#include "InlineFiles.h"
#include "MessageGrowth.h"
#include "SchemeRequests.h"
#include "StoredFileResponse.h"
#include "TestFiles.h"
#include "WaitUntil.h"

#include <QTemporaryDir>

using namespace teskal::test;

namespace {

/// Answers when the test says so.
class HeldFiles final : public FileSource {
public:
    QCoro::Task<FileLookup> find(QString id, std::stop_token stop) override {
        asked.append(id);
        return wait(outcome.completion(), std::move(stop), &stopped);
    }

    QStringList asked;
    CompletionSource<FileLookup> outcome;
    bool stopped = false;

private:
    static QCoro::Task<FileLookup> wait(Completion<FileLookup> answer, std::stop_token stop, bool* stopped) {
        try {
            FileLookup found = co_await answer.wait(stop);
            co_return found;
        } catch (const Cancelled&) {
            *stopped = true;
            throw;
        }
    }
};

PageFile inMemory(const QByteArray& bytes, const QString& mediaType) {
    PageFile file;
    file.bytes = bytes;
    file.mediaType = mediaType;
    return file;
}

QByteArray thousandBytes() {
    QByteArray bytes;
    for (int i = 0; i < 1000; ++i)
        bytes.append(char(i % 251));
    return bytes;
}

/// The bytes that would be sent.
QByteArray sent(const SchemeBody& body) {
    if (body.path.isEmpty())
        return body.bytes.mid(body.first, body.count);
    QFile file(body.path);
    return file.open(QFile::ReadOnly) && file.seek(body.first) ? file.read(body.count) : QByteArray();
}

/// "status | name: value | …"
QByteArray described(const SchemeResponse& response) {
    QByteArray text = QByteArray::number(response.status);
    for (const SchemeHeader& header : response.headers)
        text += " | " + header.name + ": " + header.value;
    return text;
}

QByteArray described(const SchemeAnswer& answer) {
    if (const auto* response = std::get_if<SchemeResponse>(&answer))
        return described(*response);
    return std::get<SchemeFailure>(answer) == SchemeFailure::FileDoesNotExist ? "does not exist"
                                                                              : "authentication required";
}

} // namespace

Q_DECLARE_METATYPE(std::optional<ByteRange>)

/// What the adapter to the engine computes, without the engine.
class TestAdapterValues : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() {
        write(u"Renderer/index.html"_qs, "<!doctype html>");
        write(u"Renderer/main.mjs"_qs, "1");
        write(u"Renderer/fonts/plain"_qs, "22");
        write(u"secret.txt"_qs, "333");
        QVERIFY(QFile::link(folder_.filePath(u"secret.txt"_qs), folder_.filePath(u"Renderer/link.txt"_qs)));
        write(u"song"_qs, thousandBytes());
    }

    void ranges_data() {
        const auto row = columns<QByteArray, qint64, std::optional<ByteRange>>("header", "count", "expected");
        const auto satisfiable = [&row](const char* header, ByteRange expected) {
            row(header, header, 1000, expected);
        };
        satisfiable("bytes=0-", {0, 999});
        satisfiable("bytes=0-0", {0, 0});
        satisfiable("bytes=200-299", {200, 299});
        satisfiable("bytes=999-5000", {999, 999});
        satisfiable("bytes=5-99999999999999999999", {5, 999});
        satisfiable("bytes=-100", {900, 999});
        satisfiable("bytes=-5000", {0, 999});
        satisfiable("bytes=10-20,30-40", {10, 20});
        for (const char* header : {"bytes=1000-", "bytes=10-5", "bytes=-0", "bytes=99999999999999999999-", "",
                                   "bytes=", "bytes=-", "bytes=5", "bytes=a-b", "bytes=1-2-3", "bytes=--5",
                                   "bytes=,0-5", "bytes= 0-5", "items=0-5", "Bytes=0-5", "bytes=0x1-5"})
            row(header, header, 1000);
        row("of nothing", "bytes=0-", 0);
        row("of less than nothing", "bytes=0-", -1);
    }
    void ranges() {
        FETCH(QByteArray, header, qint64, count);
        QTEST(range(header, count), "expected");
    }

    void types_data() {
        const auto columnsRow = columns<QString, QString, QByteArray>("recorded", "name", "expected");
        const auto row = [&](const char* recorded, const char* name, const char* expected) {
            columnsRow(qPrintable(QLatin1String(recorded) + u", "_qs + QLatin1String(name)), recorded, name,
                       expected);
        };
        for (const char* shown :
             {"image/png", "image/webp", "audio/wav", "audio/mpeg", "video/webm", "application/pdf"})
            row(shown, "a1b2", shown);
        row("Video/WebM; codecs=\"vp8\"", "a1b2", "video/webm");
        row("application/octet-stream", "clip.webm", "video/webm");
        row("", "picture.png", "image/png");
        for (const char* unsafe :
             {"text/html", "image/svg+xml", "IMAGE/SVG+XML; charset=utf-8", "application/xhtml+xml",
              "text/javascript", "application/json", "multipart/x-mixed-replace", "image/",
              "image/png\r\nX-Forged: 1", "", "nonsense"})
            row(unsafe, "a1b2", "application/octet-stream");
        for (const char* name : {"page.html", "drawing.svg", "script.js", "script.mjs", "notes.txt"})
            row("", name, "application/octet-stream");
    }
    void types() {
        FETCH(QString, recorded, QString, name);
        QTEST(storedFileType(recorded, name), "expected");
    }

    void rendererFiles_data() {
        const auto row = columns<QString, QByteArray>("path", "expected");
        const char* index = "200 | Content-Type: text/html | Content-Length: 15 | Cache-Control: no-cache";
        for (const char* path : {"", "/", "/index.html", "/fonts/../index.html"})
            row(path, path, index);
        row("script", "/main.mjs",
            "200 | Content-Type: text/javascript | Content-Length: 1 | Cache-Control: no-cache");
        row("unknown", "/fonts/plain",
            "200 | Content-Type: application/octet-stream | Content-Length: 2 | Cache-Control: no-cache");
        for (const char* missing : {"/none.js", "/fonts", "/../secret.txt", "/%2e%2e/secret.txt",
                                    "/fonts/..%2f..%2fsecret.txt", "/link.txt", "/song", "//../secret.txt"})
            row(missing, missing, "404");
    }
    void rendererFiles() {
        QFETCH(const QString, path);
        const QUrl url(u"teskal-app://renderer"_qs + path);
        QTEST(answerAtOnce(renderer(), url), "expected");
        QCOMPARE(answerAtOnce(RendererFiles(std::nullopt), url), QByteArray("does not exist"));
    }

    void storedFiles_data() {
        const auto row =
            columns<QByteArray, int, int, QByteArray>("wanted", "first", "count", "contentRange");
        row("whole", "", 0, 1000);
        row("not satisfiable", "bytes=1000-", 0, 1000);
        row("backwards", "bytes=10-5", 0, 1000);
        row("all", "bytes=0-", 0, 1000, "bytes 0-999/1000");
        row("more than all", "bytes=-5000", 0, 1000, "bytes 0-999/1000");
        row("end", "bytes=-100", 900, 100, "bytes 900-999/1000");
        row("middle", "bytes=10-19", 10, 10, "bytes 10-19/1000");
    }
    void storedFiles() {
        FETCH(QByteArray, wanted, int, first, int, count, QByteArray, contentRange);
        const QByteArray expected =
            (contentRange.isEmpty() ? "200 | Content-Type: audio/wav"
                                    : "206 | Content-Type: audio/wav | Content-Range: " + contentRange) +
            " | Content-Length: " + QByteArray::number(count) +
            " | Accept-Ranges: bytes | Cache-Control: no-cache";
        PageFile onDisk = inMemory({}, u"audio/wav"_qs);
        onDisk.path = folder_.filePath(u"song"_qs);
        for (const PageFile& file : {inMemory(thousandBytes(), u"audio/wav"_qs), onDisk}) {
            const SchemeResponse response = storedFileResponse(file, u"song"_qs, wanted);
            QCOMPARE(described(response), expected);
            QCOMPARE(sent(response.body), thousandBytes().mid(first, count));
        }
        onDisk.path = folder_.filePath(u"gone"_qs);
        QCOMPARE(storedFileResponse(onDisk, u"gone"_qs, wanted), SchemeResponse());
    }

    void hostsAreApart_data() {
        const auto row = columns<QString, QStringList, QByteArray>("url", "asked", "expected");
        const auto stored = [&row](const char* path, const QString& asked) {
            row(path, u"teskal-app://file/"_qs + QLatin1String(path), QStringList{asked},
                "200 | Content-Type: image/png | Content-Length: 3 | Accept-Ranges: bytes | Cache-Control: "
                "no-cache");
        };
        stored("abcd", u"abcd"_qs);
        stored("x/y/abcd?q#f", u"abcd"_qs);
        stored("index.html", u"index.html"_qs);
        stored("..%2Fx", u"x"_qs);
        row("renderer's host", "teskal-app://renderer/abcd", QStringList(), "404");
        row("no host of ours", "teskal-app://elsewhere/index.html", QStringList(), "does not exist");
        row("nothing", "", QStringList(), "does not exist");
    }
    void hostsAreApart() {
        QFETCH(const QString, url);
        HeldFiles files;
        files.outcome.succeed(inMemory("png", u"image/png"_qs));
        SchemeRequests requests(renderer(), &files, none_);
        QList<QByteArray> answers;
        requests.start({QUrl(url), {}},
                       [&](const SchemeAnswer& answer) { answers.append(described(answer)); });
        QVERIFY(waitUntil([&] { return !answers.isEmpty(); }));
        QCOMPARE(answers.size(), 1);
        QTEST(answers[0], "expected");
        QTEST(files.asked, "asked");
    }

    void absentFiles_data() {
        const auto row = columns<FileAbsence, QByteArray>("absence", "expected");
        row("missing", FileAbsence::Missing, "404");
        row("no account", FileAbsence::NoAccount, "authentication required");
    }
    void absentFiles() {
        QFETCH(const FileAbsence, absence);
        HeldFiles files;
        InlineFiles inlineFiles;
        const QString id = *inlineFiles.identify(u"data:image/png;base64,"_qs +
                                                 QString::fromLatin1(QByteArray(20'000, 'p').toBase64()));
        const QUrl stored(u"teskal-app://file/abcd"_qs);
        SchemeRequests requests(renderer(), &files, inlineFiles);
        QList<QByteArray> answers;
        const auto deliver = [&](const SchemeAnswer& answer) { answers.append(described(answer)); };

        requests.start({stored, {}}, deliver);
        QVERIFY(answers.isEmpty());
        requests.start({QUrl(u"teskal-app://file/"_qs + id), "bytes=0-9"}, deliver);
        QVERIFY2(answers.value(0).contains("bytes 0-9/20000"), "what is in the messages needs no account");
        files.outcome.succeed(absence);
        QVERIFY(waitUntil([&] { return answers.size() == 2; }));
        QTEST(answers[1], "expected");
        QCOMPARE(answerAtOnce(renderer(), stored), QByteArray("authentication required"));
    }

    void aStoppedRequestGetsNoAnswer() {
        HeldFiles files;
        SchemeRequests requests(renderer(), &files, none_);
        int stopped = 0;
        int kept = 0;
        const SchemeRequest request{QUrl(u"teskal-app://file/abcd"_qs), {}};
        const auto id = requests.start(request, [&](const SchemeAnswer&) { ++stopped; });
        requests.start(request, [&](const SchemeAnswer&) { ++kept; });
        requests.stop(id);
        QVERIFY(waitUntil([&] { return files.stopped; }));
        files.outcome.succeed(inMemory("png", u"image/png"_qs));
        QVERIFY(waitUntil([&] { return kept == 1; }));
        QCOMPARE(stopped, 0);
        requests.stop(id); // again, and of one that was answered: nothing happens
    }

    void growth_data() {
        // sent: null when the message goes whole
        const auto row = columns<QString, QString, QString, bool>("before", "after", "sent", "otherChange");
        const QString face = u"\U0001F600"_qs;
        row("words", "A ", "A cat", "cat");
        row("first words", "", "A", "A");
        row("nothing", "A", "A", "");
        row("whole character", "A", u"A"_qs + face, face);
        row("half a character", u"A"_qs + face[0], u"A"_qs + face);
        row("shorter", "AB", "A");
        row("another text", "AB", "AC!");
        row("state as well", "A", "AB", QString(), true);
    }
    void growth() {
        FETCH(QString, before, QString, after, QString, sent, bool, otherChange);
        ChatMessage message;
        message.id = u"m"_qs;
        message.content = before;
        message.pending = true;
        MessageGrowth growth;
        QVERIFY(!growth.send(message));
        message.content = after;
        message.pending = !otherChange;
        const auto grown = growth.send(message);
        QCOMPARE(grown.has_value(), !sent.isNull());
        if (grown) {
            QCOMPARE(grown->from, before.size());
            QCOMPARE(grown->text.toString(), sent);
        }
        ChatMessage other = message;
        other.id = u"n"_qs;
        QVERIFY2(!growth.send(other), "another message");
        growth.forget();
        QVERIFY(!growth.send(other));
    }

    void crashLimit() {
        using namespace std::chrono_literals;
        CrashLimit limit;
        const CrashLimit::Time start{};
        QVERIFY(!limit.count(start));
        QVERIFY(!limit.count(start + 40s));
        QVERIFY2(!limit.count(start + 61s), "the first is more than a minute ago");
        QVERIFY(limit.count(start + 90s));
        limit.clear();
        QVERIFY(!limit.count(start + 91s));
        QVERIFY(!limit.count(start + 92s));
        QVERIFY(limit.count(start + 93s));
    }

private:
    void write(const QString& path, const QByteArray& bytes) { writeFile(folder_.filePath(path), bytes); }
    /// Of a client without stored files.
    QByteArray answerAtOnce(const RendererFiles& files, const QUrl& url) const {
        SchemeRequests requests(files, nullptr, none_);
        QList<QByteArray> answers;
        requests.start({url, {}}, [&](const SchemeAnswer& answer) { answers.append(described(answer)); });
        return answers.size() == 1 ? answers[0] : QByteArray("not one answer");
    }
    RendererFiles renderer() const { return RendererFiles(folder_.filePath(u"Renderer"_qs)); }

    QTemporaryDir folder_;
    const InlineFiles none_;
};

QTEST_MAIN(TestAdapterValues)
#include "TestAdapterValues.moc"
