#include "Cancelled.h"
#include "DataUrl.h"
#include "MediaSaver.h"
#include "Pending.h"
#include "TranscriptFiles.h"
#include "World.h"

#include <QTest>

using namespace teskal;
using namespace teskal::test;

namespace {

const QString fileId = QStringLiteral("file-1");
const QString filesPath = QStringLiteral("/api/files");
const QString saved = QStringLiteral("Saved");
const QString notSaved = QStringLiteral("Couldn’t save that file.");

Media media(const char* type, const char* mediaType = nullptr) {
    Media made;
    made.type = QLatin1String(type);
    if (mediaType)
        made.mediaType = QLatin1String(mediaType);
    return made;
}

Media inlineImage(const char* url) {
    Media made = media("image");
    made.url = QLatin1String(url);
    return made;
}

Media storedImage(const QString& id) {
    Media made = media("image", "image/png");
    made.fileId = id;
    return made;
}

QByteArray contentOf(const QString& path) {
    QFile file(path);
    return file.open(QFile::ReadOnly) ? file.readAll() : QByteArray("missing");
}

} // namespace

/// What the page asks the application for: files, saved media, sheets and link previews.
class TestPageRequests final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void suggestedNames_data();
    void suggestedNames();
    void savedFiles_data();
    void savedFiles();
    void panelWithoutAChoice();
    void savesAnAnswersImage();
    void filesOfTheShownChat();
    void filesWithoutAnAccount();
    void sheets();
    void droppedFiles();
    void linkPreviews();
};

void TestPageRequests::suggestedNames_data() {
    QTest::addColumn<Media>("generated");
    QTest::addColumn<QString>("name");
    const auto row = [](const char* name, const Media& generated) {
        QTest::addRow("%s, %s", name, qPrintable(generated.mediaType.value_or(QStringLiteral("-"))))
            << generated << QString::fromLatin1(name);
    };
    row("Teskal image.png", media("image"));
    row("Teskal image.jpg", media("image", "image/jpeg"));
    row("Teskal image.webp", media("image", "image/webp"));
    row("Teskal image.png", media("image", "application/octet-stream"));
    row("Teskal image.png", media("image", "text/html"));
    row("Teskal image.gif", inlineImage("data:image/gif;base64,AAAA"));
    row("Teskal video.mp4", media("video"));
    row("Teskal video.webm", media("video", "video/webm"));
    row("Teskal song.mp3", media("music", "unknown/type"));
    row("Teskal song.wav", media("music", "audio/wav"));
    row("Teskal song.mp3", media("music", "audio/mpeg"));
}

void TestPageRequests::suggestedNames() {
    QFETCH(const Media, generated);
    QTEST(MediaSaver::suggestedName(generated), "name");
}

void TestPageRequests::savedFiles_data() {
    QTest::addColumn<Media>("generated");
    QTest::addColumn<QString>("folder"); // below the test's own
    QTest::addColumn<QByteArray>("content");
    const QString here;
    const QByteArray old("old");
    const QByteArray large(3 * 1024 * 1024 + 1, 'x');
    QTest::newRow("stored") << storedImage(fileId) << here << large;
    QTest::newRow("inline") << inlineImage("data:image/png;base64,YWJj") << here << QByteArray("abc");
    Media both = storedImage(fileId);
    both.url = QStringLiteral("data:image/png;base64,YWJj");
    QTest::newRow("stored and inline") << both << here << QByteArray("abc");
    QTest::newRow("broken inline") << inlineImage("data:image/png;base64,Y*Jj") << here << old;
    QTest::newRow("cannot be fetched") << storedImage(QStringLiteral("file-2")) << here << old;
    QTest::newRow("malformed identifier") << storedImage(QStringLiteral("../x")) << here << old;
    QTest::newRow("only elsewhere") << inlineImage("https://example.com/a.png") << here << old;
    QTest::newRow("no such folder") << storedImage(fileId) << QStringLiteral("none/") << old;
}

void TestPageRequests::savedFiles() {
    QFETCH(const Media, generated);
    QFETCH(const QString, folder);
    QFETCH(const QByteArray, content);
    const QTemporaryDir place;
    const QString path = place.filePath(QStringLiteral("image.png"));
    QFile old(path);
    QVERIFY(old.open(QFile::WriteOnly) && old.write("old") == 3);
    old.close();
    FileCache files(place.filePath(QStringLiteral("cache")));
    files.store(QByteArray(3 * 1024 * 1024 + 1, 'x'), QStringLiteral("image/png"), fileId);
    files.flush();
    MediaSaver saver(files, [&](const QString&) {
        CompletionSource<std::optional<QString>> choice;
        choice.succeed(std::optional(place.filePath(folder + QStringLiteral("image.png"))));
        return choice.completion();
    });
    QStringList notices;
    connect(&saver, &MediaSaver::notice, this, [&](const QString& notice) { notices.append(notice); });
    saver.save(generated, FileCache::Keep::OnDisk);
    QVERIFY(waitUntil([&] { return !notices.isEmpty(); }));
    QCOMPARE(notices, QStringList{content == "old" ? notSaved : saved});
    QVERIFY(contentOf(path) == content);
}

void TestPageRequests::panelWithoutAChoice() {
    QTemporaryDir place;
    FileCache files(place.path());
    std::vector<CompletionSource<std::optional<QString>>> panels;
    int asked = 0;
    MediaSaver saver(files, [&](const QString&) {
        ++asked;
        return panels.emplace_back().completion();
    });
    connect(&saver, &MediaSaver::notice, this, [](const QString&) { QFAIL("nothing was saved"); });
    const Media generated = inlineImage("data:image/png;base64,YWJj");
    const auto isAskedAgain = [&] {
        const int before = asked;
        saver.save(generated, FileCache::Keep::OnDisk);
        return asked > before;
    };
    QVERIFY(isAskedAgain());
    QVERIFY(!isAskedAgain()); // one panel at a time
    panels.back().succeed(std::optional<QString>());
    runQueued();
    QVERIFY(isAskedAgain());
    panels.clear(); // the window went
    runQueued();
    QVERIFY(isAskedAgain());
    saver.abandon();
    runQueued();
    panels.back().succeed(std::optional(place.filePath(QStringLiteral("image.png"))));
    runQueued();
    QVERIFY(!QFile::exists(place.filePath(QStringLiteral("image.png"))));
}

void TestPageRequests::savesAnAnswersImage() {
    World world;
    world.signIn();
    const QString chat = world.send(QStringLiteral("Draw an image"));
    QVERIFY(world.waitForEnd(chat));
    const ChatMessage answer = world.last(chat);
    QVERIFY(answer.media);
    world.savePath = world.folder.filePath(QStringLiteral("picture.png"));
    const auto save = [&](const QString& id) {
        world.page.send({{QStringLiteral("type"), QStringLiteral("saveMedia")}, {QStringLiteral("id"), id}});
    };
    save(QStringLiteral("unknown"));
    save(world.model().selectedChat()->messages.first().id); // has no media
    QCOMPARE(world.suggestedNames, QStringList());
    save(answer.id);
    QCOMPARE(world.suggestedNames, QStringList{QStringLiteral("Teskal image.png")});
    QVERIFY(waitUntil([&] { return world.model().toast() == saved; }));
    QVERIFY(contentOf(world.savePath).startsWith("\x89PNG"));
}

void TestPageRequests::filesOfTheShownChat() {
    World world;
    world.signIn();
    world.model().files().store("disk", QStringLiteral("image/png"), QStringLiteral("file-disk"));
    world.model().files().store("memory", QStringLiteral("image/gif"), QStringLiteral("file-memory"),
                                FileCache::Keep::InMemory);
    world.model().files().flush();
    FileSource& source = world.model().transcriptFiles();
    const auto find = [&](const char* id) {
        return waitFor([&](std::stop_token stop) { return source.find(QLatin1String(id), std::move(stop)); });
    };
    const PageFile onDisk = std::get<PageFile>(find("file-disk"));
    QCOMPARE(contentOf(onDisk.path), QByteArray("disk"));
    QCOMPARE(onDisk.mediaType, QStringLiteral("image/png"));
    const PageFile inMemory = std::get<PageFile>(find("file-memory"));
    QVERIFY(inMemory.isInMemory());
    QCOMPARE(inMemory.bytes, QByteArray("memory"));
    QVERIFY(find("file-unknown") == FileLookup(FileAbsence::Missing));
    QVERIFY(find("../x") == FileLookup(FileAbsence::Missing));
    QVERIFY(find("inline-1") == FileLookup(FileAbsence::Missing));
    QCOMPARE(world.control.requests(filesPath).size(), 1); // for the unknown one

    // What only a private chat uses is fetched, and not written.
    const QByteArray bytes("from the service");
    world.control.next({{QStringLiteral("path"), filesPath},
                        {QStringLiteral("status"), 200},
                        {QStringLiteral("body"), QString::fromLatin1(bytes)},
                        {QStringLiteral("headers"),
                         QJsonObject{{QStringLiteral("Content-Type"), QStringLiteral("image/webp")}}}});
    TranscriptFiles privateFiles(world.model().files(), [] { return FileCache::Keep::InMemory; });
    const FileLookup fetched =
        waitFor([&](std::stop_token stop) { return privateFiles.find(QStringLiteral("file-secret"), stop); });
    QCOMPARE(std::get<PageFile>(fetched).bytes, bytes);
    QVERIFY(!QFile::exists(world.folder.filePath(QStringLiteral("Files/file-secret"))));
}

void TestPageRequests::filesWithoutAnAccount() {
    World world;
    FileSource& source = world.model().transcriptFiles();
    const auto find = [&](std::stop_token stop) { return source.find(fileId, std::move(stop)); };
    QVERIFY(waitFor(find) == FileLookup(FileAbsence::NoAccount));
    world.signIn();
    world.control.hold(filesPath);
    auto stopped = start(find);
    auto waiting = start(find);
    QVERIFY(world.control.wait(filesPath, QStringLiteral("held")));
    stopped.stop();
    QVERIFY(stopped.error<Cancelled>());
    world.model().signOut();
    QVERIFY(waiting.result() == FileLookup(FileAbsence::NoAccount));
}

void TestPageRequests::sheets() {
    World world;
    int changes = 0;
    connect(&world.model(), &AppModel::sheetChanged, this, [&] { ++changes; });
    const auto open = [&](const char* name) {
        world.page.send({{QStringLiteral("type"), QStringLiteral("openSheet")},
                         {QStringLiteral("sheet"), QLatin1String(name)}});
        const std::optional<Sheet> sheet = world.model().sheet();
        return sheet ? sheetName(*sheet) : QString();
    };
    QCOMPARE(open("Credits"), QString());
    QCOMPARE(open("settings"), QString());
    for (const char* name : {"credits", "keys", "routes"})
        QCOMPARE(open(name), QLatin1String(name));
    QCOMPARE(open("routes"), QStringLiteral("routes"));
    QCOMPARE(open("nothing"), QStringLiteral("routes"));
    world.model().setSheet(std::nullopt);
    QCOMPARE(changes, 4);
}

void TestPageRequests::droppedFiles() {
    World world;
    const QList<QUrl> files{QUrl(QStringLiteral("file:///a.png"))};
    QList<QUrl> dropped;
    int focused = 0;
    connect(&world.model(), &AppModel::filesDropped, this, [&](const QList<QUrl>& urls) { dropped = urls; });
    connect(&world.model(), &AppModel::focusComposer, this, [&] { ++focused; });
    world.model().transcript().dropped(files);
    QCOMPARE(dropped, files);
    QCOMPARE(focused, 1);
}

void TestPageRequests::linkPreviews() {
    World world;
    world.signIn();
    const auto ask = [&](int id, const char* path) {
        world.page.send({{QStringLiteral("type"), QStringLiteral("fetch")},
                         {QStringLiteral("id"), id},
                         {QStringLiteral("path"), QLatin1String(path)},
                         {QStringLiteral("method"), QStringLiteral("GET")},
                         {QStringLiteral("body"), QString()}});
        QStringList calls;
        const bool answered = waitUntil([&] { return !(calls = world.page.takeCalls()).isEmpty(); });
        return answered ? calls.first() : QStringLiteral("no answer");
    };
    world.page.takeCalls();
    const QString card = ask(1, "/api/unfurl?url=https%3A%2F%2Fexample.com%2Fa");
    QVERIFY2(card.startsWith(QLatin1String("fetchResult(1, 200, \"{")), qPrintable(card));
    QVERIFY2(card.contains(QLatin1String("https://example.com/a")), qPrintable(card));
    QCOMPARE(ask(2, "/api/keys"),
             QStringLiteral(R"(fetchResult(2, 403, "{\"error\":\"Not allowed\"}", "application/json"))"));
    QCOMPARE(world.control.requests(QStringLiteral("/api/keys")).size(), 0);
    world.control.next(
        {{QStringLiteral("path"), QStringLiteral("/api/unfurl")}, {QStringLiteral("drop"), true}});
    QCOMPARE(ask(3, "/api/unfurl?url=x"),
             QStringLiteral(R"(fetchResult(3, 502, "{\"error\":\"Offline\"}", "application/json"))"));
}

QTEST_GUILESS_MAIN(TestPageRequests)
#include "TestPageRequests.moc"
