#include "ByteRange.h"
#include "Completion.h"
#include "ContentType.h"
#include "CrashLimit.h"
#include "InlineFiles.h"
#include "MessageGrowth.h"
#include "SchemeRequests.h"
#include "StoredFileResponse.h"
#include "WaitUntil.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using namespace teskal;
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
    void initTestCase();

    void ranges_data();
    void ranges();
    void types_data();
    void types();
    void rendererFiles_data();
    void rendererFiles();
    void storedFiles_data();
    void storedFiles();
    void hostsAreApart_data();
    void hostsAreApart();
    void absentFiles_data();
    void absentFiles();
    void aStoppedRequestGetsNoAnswer();
    void growth_data();
    void growth();
    void crashLimit();

private:
    void write(const QString& path, const QByteArray& bytes) {
        QFile file(folder_.filePath(path));
        QVERIFY(file.open(QFile::WriteOnly));
        file.write(bytes);
    }
    RendererFiles renderer() const { return RendererFiles(folder_.filePath(QStringLiteral("Renderer"))); }

    QTemporaryDir folder_;
};

void TestAdapterValues::initTestCase() {
    QVERIFY(QDir(folder_.path()).mkpath(QStringLiteral("Renderer/fonts")));
    write(QStringLiteral("Renderer/index.html"), "<!doctype html>");
    write(QStringLiteral("Renderer/main.mjs"), "1");
    write(QStringLiteral("Renderer/fonts/plain"), "22");
    write(QStringLiteral("secret.txt"), "333");
    QVERIFY(QFile::link(folder_.filePath(QStringLiteral("secret.txt")),
                        folder_.filePath(QStringLiteral("Renderer/link.txt"))));
    write(QStringLiteral("song"), thousandBytes());
}

void TestAdapterValues::ranges_data() {
    QTest::addColumn<QByteArray>("header");
    QTest::addColumn<qint64>("count");
    QTest::addColumn<std::optional<ByteRange>>("expected");
    const auto row = [](const char* header, qint64 count, std::optional<ByteRange> expected) {
        QTest::addRow("%s of %lld", header, count) << QByteArray(header) << count << expected;
    };
    row("bytes=0-", 1000, ByteRange{0, 999});
    row("bytes=0-0", 1000, ByteRange{0, 0});
    row("bytes=200-299", 1000, ByteRange{200, 299});
    row("bytes=999-5000", 1000, ByteRange{999, 999});
    row("bytes=5-99999999999999999999", 1000, ByteRange{5, 999});
    row("bytes=-100", 1000, ByteRange{900, 999});
    row("bytes=-5000", 1000, ByteRange{0, 999});
    row("bytes=10-20,30-40", 1000, ByteRange{10, 20});
    row("bytes=1000-", 1000, {});
    row("bytes=10-5", 1000, {});
    row("bytes=-0", 1000, {});
    row("bytes=99999999999999999999-", 1000, {});
    for (const char* malformed : {"", "bytes=", "bytes=-", "bytes=5", "bytes=a-b", "bytes=1-2-3", "bytes=--5",
                                  "bytes=,0-5", "bytes= 0-5", "items=0-5", "Bytes=0-5", "bytes=0x1-5"})
        row(malformed, 1000, {});
    row("bytes=0-", 0, {});
    row("bytes=0-", -1, {});
}

void TestAdapterValues::ranges() {
    QFETCH(const QByteArray, header);
    QFETCH(const qint64, count);
    QTEST(range(header, count), "expected");
}

void TestAdapterValues::types_data() {
    QTest::addColumn<QString>("recorded");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("expected");
    const auto row = [](const char* recorded, const char* name, const char* expected) {
        QTest::addRow("%s, %s", recorded, name)
            << QString::fromLatin1(recorded) << QString::fromLatin1(name) << QByteArray(expected);
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

void TestAdapterValues::types() {
    QFETCH(const QString, recorded);
    QFETCH(const QString, name);
    QTEST(storedFileType(recorded, name), "expected");
}

void TestAdapterValues::rendererFiles_data() {
    QTest::addColumn<QString>("url");
    QTest::addColumn<QByteArray>("expected");
    const auto row = [](const char* path, const char* expected) {
        QTest::newRow(path) << QStringLiteral("teskal-app://renderer") + QLatin1String(path)
                            << QByteArray(expected);
    };
    const char* index = "200 | Content-Type: text/html | Content-Length: 15 | Cache-Control: no-cache";
    row("", index);
    row("/", index);
    row("/index.html", index);
    row("/fonts/../index.html", index);
    row("/main.mjs", "200 | Content-Type: text/javascript | Content-Length: 1 | Cache-Control: no-cache");
    row("/fonts/plain",
        "200 | Content-Type: application/octet-stream | Content-Length: 2 | Cache-Control: no-cache");
    for (const char* missing : {"/none.js", "/fonts", "/../secret.txt", "/%2e%2e/secret.txt",
                                "/fonts/..%2f..%2fsecret.txt", "/link.txt", "/song", "//../secret.txt"})
        row(missing, "404");
}

void TestAdapterValues::rendererFiles() {
    QFETCH(const QString, url);
    const InlineFiles none;
    for (const bool hasFolder : {true, false}) {
        SchemeRequests requests(hasFolder ? renderer() : RendererFiles(std::nullopt), nullptr, none);
        QList<SchemeAnswer> answers;
        requests.start({QUrl(url), {}}, [&](const SchemeAnswer& answer) { answers.append(answer); });
        QCOMPARE(answers.size(), 1);
        if (hasFolder)
            QTEST(described(answers[0]), "expected");
        else
            QCOMPARE(described(answers[0]), QByteArray("does not exist"));
    }
}

void TestAdapterValues::storedFiles_data() {
    QTest::addColumn<QByteArray>("wanted");
    QTest::addColumn<int>("first");
    QTest::addColumn<int>("count");
    QTest::addColumn<QByteArray>("expected");
    const auto row = [](const char* wanted, int first, int count) {
        const QByteArray length = QByteArray::number(count);
        QByteArray expected =
            count == 1000 && QByteArray(wanted) != "bytes=0-" && QByteArray(wanted) != "bytes=-5000"
                ? QByteArray("200 | Content-Type: audio/wav")
                : "206 | Content-Type: audio/wav | Content-Range: bytes " + QByteArray::number(first) + '-' +
                      QByteArray::number(first + count - 1) + "/1000";
        expected += " | Content-Length: " + length + " | Accept-Ranges: bytes | Cache-Control: no-cache";
        QTest::newRow(wanted) << QByteArray(wanted) << first << count << expected;
    };
    row("", 0, 1000);
    row("bytes=0-", 0, 1000);
    row("bytes=-5000", 0, 1000);
    row("bytes=-100", 900, 100);
    row("bytes=10-19", 10, 10);
    row("bytes=1000-", 0, 1000);
    row("bytes=10-5", 0, 1000);
}

void TestAdapterValues::storedFiles() {
    QFETCH(const QByteArray, wanted);
    QFETCH(const int, first);
    QFETCH(const int, count);
    const QString type = QStringLiteral("audio/wav");
    PageFile onDisk;
    onDisk.path = folder_.filePath(QStringLiteral("song"));
    onDisk.mediaType = type;
    for (const PageFile& file : {inMemory(thousandBytes(), type), onDisk}) {
        const SchemeResponse response = storedFileResponse(file, QStringLiteral("song"), wanted);
        QTEST(described(response), "expected");
        QCOMPARE(sent(response.body), thousandBytes().mid(first, count));
    }
    onDisk.path = folder_.filePath(QStringLiteral("gone"));
    QCOMPARE(storedFileResponse(onDisk, QStringLiteral("gone"), wanted), SchemeResponse());
}

void TestAdapterValues::hostsAreApart_data() {
    QTest::addColumn<QString>("url");
    QTest::addColumn<QStringList>("asked");
    QTest::addColumn<QByteArray>("expected");
    const auto row = [](const char* url, const QStringList& asked, const char* expected) {
        QTest::newRow(url) << QString::fromLatin1(url) << asked << QByteArray(expected);
    };
    const char* picture = "200 | Content-Type: image/png | Content-Length: 3 | Accept-Ranges: bytes | "
                          "Cache-Control: no-cache";
    row("teskal-app://file/abcd", {QStringLiteral("abcd")}, picture);
    row("teskal-app://file/x/y/abcd?q#f", {QStringLiteral("abcd")}, picture);
    row("teskal-app://file/index.html", {QStringLiteral("index.html")}, picture);
    row("teskal-app://file/..%2Fx", {QStringLiteral("x")}, picture);
    row("teskal-app://renderer/abcd", {}, "404");
    row("teskal-app://elsewhere/index.html", {}, "does not exist");
    row("", {}, "does not exist");
}

void TestAdapterValues::hostsAreApart() {
    QFETCH(const QString, url);
    HeldFiles files;
    files.outcome.succeed(inMemory("png", QStringLiteral("image/png")));
    const InlineFiles none;
    SchemeRequests requests(renderer(), &files, none);
    QList<SchemeAnswer> answers;
    requests.start({QUrl(url), {}}, [&](const SchemeAnswer& answer) { answers.append(answer); });
    QVERIFY(waitUntil([&] { return !answers.isEmpty(); }));
    QCOMPARE(answers.size(), 1);
    QTEST(described(answers[0]), "expected");
    QTEST(files.asked, "asked");
}

void TestAdapterValues::absentFiles_data() {
    QTest::addColumn<int>("absence");
    QTest::addColumn<QByteArray>("expected");
    QTest::newRow("missing") << int(FileAbsence::Missing) << QByteArray("404");
    QTest::newRow("no account") << int(FileAbsence::NoAccount) << QByteArray("authentication required");
}

void TestAdapterValues::absentFiles() {
    QFETCH(const int, absence);
    HeldFiles files;
    InlineFiles inlineFiles;
    const QString id = *inlineFiles.identify(QStringLiteral("data:image/png;base64,") +
                                             QString::fromLatin1(QByteArray(20'000, 'p').toBase64()));
    const QUrl stored(QStringLiteral("teskal-app://file/abcd"));
    SchemeRequests requests(renderer(), &files, inlineFiles);
    QList<QByteArray> answers;
    const auto deliver = [&](const SchemeAnswer& answer) { answers.append(described(answer)); };

    requests.start({stored, {}}, deliver);
    QVERIFY(answers.isEmpty());
    requests.start({QUrl(QStringLiteral("teskal-app://file/") + id), "bytes=0-9"}, deliver);
    QVERIFY2(answers.value(0).contains("bytes 0-9/20000"), "what is in the messages needs no account");
    files.outcome.succeed(FileAbsence(absence));
    QVERIFY(waitUntil([&] { return answers.size() == 2; }));
    QTEST(answers[1], "expected");

    SchemeRequests without(renderer(), nullptr, inlineFiles);
    without.start({stored, {}}, deliver);
    QCOMPARE(answers.value(2), QByteArray("authentication required"));
}

void TestAdapterValues::aStoppedRequestGetsNoAnswer() {
    HeldFiles files;
    const InlineFiles none;
    SchemeRequests requests(renderer(), &files, none);
    int stopped = 0;
    int kept = 0;
    const SchemeRequest request{QUrl(QStringLiteral("teskal-app://file/abcd")), {}};
    const auto id = requests.start(request, [&](const SchemeAnswer&) { ++stopped; });
    requests.start(request, [&](const SchemeAnswer&) { ++kept; });
    requests.stop(id);
    QVERIFY(waitUntil([&] { return files.stopped; }));
    files.outcome.succeed(inMemory("png", QStringLiteral("image/png")));
    QVERIFY(waitUntil([&] { return kept == 1; }));
    QCOMPARE(stopped, 0);
    requests.stop(id); // again, and of one that was answered: nothing happens
}

void TestAdapterValues::growth_data() {
    QTest::addColumn<QString>("before");
    QTest::addColumn<QString>("after");
    QTest::addColumn<bool>("otherChange");
    QTest::addColumn<QString>("sent"); // null when the message goes whole
    const QString face = QString::fromUtf8("\xF0\x9F\x98\x80");
    QTest::newRow("words") << QStringLiteral("A ") << QStringLiteral("A cat") << false
                           << QStringLiteral("cat");
    QTest::newRow("first words") << QString() << QStringLiteral("A") << false << QStringLiteral("A");
    QTest::newRow("nothing") << QStringLiteral("A") << QStringLiteral("A") << false << QStringLiteral("");
    QTest::newRow("whole character") << QStringLiteral("A") << QStringLiteral("A") + face << false << face;
    QTest::newRow("half a character")
        << QStringLiteral("A") + face[0] << QStringLiteral("A") + face << false << QString();
    QTest::newRow("shorter") << QStringLiteral("AB") << QStringLiteral("A") << false << QString();
    QTest::newRow("another text") << QStringLiteral("AB") << QStringLiteral("AC!") << false << QString();
    QTest::newRow("state as well") << QStringLiteral("A") << QStringLiteral("AB") << true << QString();
}

void TestAdapterValues::growth() {
    QFETCH(const QString, before);
    QFETCH(const QString, after);
    QFETCH(const bool, otherChange);
    QFETCH(const QString, sent);
    ChatMessage message;
    message.id = QStringLiteral("m");
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
    other.id = QStringLiteral("n");
    QVERIFY2(!growth.send(other), "another message");
    growth.forget();
    QVERIFY(!growth.send(other));
}

void TestAdapterValues::crashLimit() {
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

QTEST_MAIN(TestAdapterValues)
#include "TestAdapterValues.moc"
