#include "Cancelled.h"
#include "Columns.h"
#include "DataUrl.h"
#include "IDs.h"
#include "ManualClock.h"
#include "MediaSaver.h"
#include "OutsideLink.h"
#include "Pending.h"
#include "TestFiles.h"
#include "TranscriptFiles.h"
#include "World.h"

using namespace teskal::test;

namespace {

const QString fileId = u"file-1"_qs;
const QString filesPath = u"/api/files"_qs;
const QString saved = u"Saved"_qs;
const QString notSaved = u"Couldn’t save that file."_qs;

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

ChatMessage messageWith(const QList<const char*>& files, const std::optional<Media>& made = {}) {
    ChatMessage message;
    message.id = IDs::make();
    message.media = made;
    for (const char* id : files)
        message.attachments.append(Attachment{{}, {}, {}, QLatin1String(id), false});
    return message;
}

/// For what comes from another device, or what nothing in the model makes yet.
ChatStore& chatsOf(World& world) {
    return const_cast<ChatStore&>(world.model().store());
}

/// Selects a saved chat whose only message has \a files.
void show(World& world, const QList<const char*>& files) {
    Chat chat;
    chat.id = u"saved"_qs;
    chat.messages = {messageWith(files)};
    chatsOf(world).upsertQuiet(chat);
    world.model().select(chat.id);
}

} // namespace

/// What the page asks the application for: files, saved media, sheets and link previews.
class TestPageRequests final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void suggestedNames_data() {
        columns<Media, QString>("generated", "name");
        const auto row = [](const char* name, const Media& generated) {
            QTest::addRow("%s, %s", name, qPrintable(generated.mediaType.value_or(u"-"_qs)))
                << generated << QString::fromLatin1(name);
        };
        row("Teskal image.png", media("image"));
        row("Teskal image.jpg", media("image", "image/jpeg"));
        row("Teskal image.webp", media("image", "image/webp"));
        row("Teskal image.png", media("image", "application/octet-stream"));
        row("Teskal image.png", media("image", "text/html"));
        row("Teskal image.gif", inlineImage("data:image/gif;base64,AAAA"));
        row("Teskal video.mp4", media("video"));
        row("Teskal video.webm", media("video", "Video/WebM; codecs=vp8"));
        row("Teskal song.mp3", media("music", "unknown/type"));
        row("Teskal song.wav", media("music", "audio/wav"));
        row("Teskal song.mp3", media("music", "audio/mpeg"));
    }

    void suggestedNames() {
        QFETCH(const Media, generated);
        QTEST(MediaSaver::suggestedName(generated), "name");
    }

    void savedFiles_data() {
        // folder: below the test's own
        const auto row = columns<Media, QString, QByteArray>("generated", "folder", "content");
        const QString here;
        const QByteArray old("old");
        const QByteArray large(3 * 1024 * 1024 + 1, 'x');
        row("stored", storedImage(fileId), here, large);
        row("inline", inlineImage("data:image/png;base64,YWJj"), here, "abc");
        Media both = storedImage(fileId);
        both.url = u"data:image/png;base64,YWJj"_qs;
        row("stored and inline", both, here, large);
        both.fileId = u"file-2"_qs;
        row("inline, where the stored one cannot be fetched", both, here, "abc");
        row("broken inline", inlineImage("data:image/png;base64,Y*Jj"), here, old);
        row("cannot be fetched", storedImage(u"file-2"_qs), here, old);
        row("malformed identifier", storedImage(u"../x"_qs), here, old);
        row("may not be had any more", storedImage(u"file-gone"_qs), here, old);
        row("only elsewhere", inlineImage("https://example.com/a.png"), here, old);
        row("no such folder", storedImage(fileId), "none/", old);
    }

    void savedFiles() {
        FETCH(Media, generated, QString, folder, QByteArray, content);
        const QTemporaryDir place;
        const QString path = place.filePath(u"image.png"_qs);
        writeFile(path, "old");
        FileCache files(place.filePath(u"cache"_qs));
        files.store(QByteArray(3 * 1024 * 1024 + 1, 'x'), u"image/png"_qs, fileId);
        files.store("secret", u"image/png"_qs, u"file-gone"_qs);
        files.flush();
        bool chosen = false;
        MediaSaver saver(files, [&](const QString&, std::stop_token) {
            chosen = true;
            CompletionSource<std::optional<QString>> choice;
            choice.succeed(std::optional(place.filePath(folder + u"image.png"_qs)));
            return choice.completion();
        });
        QStringList notices;
        connect(&saver, &MediaSaver::notice, this, [&](const QString& notice) { notices.append(notice); });
        saver.save(generated, [&]() -> std::optional<FileCache::Keep> {
            const bool isGone = generated.fileId == u"file-gone";
            return chosen && !isGone ? std::optional(FileCache::Keep::OnDisk) : std::nullopt;
        });
        QVERIFY(waitUntil([&] { return !notices.isEmpty(); }));
        QVERIFY(chosen);
        QCOMPARE(notices, QStringList{content == "old" ? notSaved : saved});
        QVERIFY(contentOf(path) == content);
    }

    void panelWithoutAChoice() {
        QTemporaryDir place;
        FileCache files(place.path());
        std::vector<CompletionSource<std::optional<QString>>> panels;
        int asked = 0;
        std::stop_token panel;
        std::optional<MediaSaver> saver(std::in_place, files, [&](const QString&, std::stop_token stop) {
            ++asked;
            panel = stop;
            return panels.emplace_back().completion();
        });
        connect(&*saver, &MediaSaver::notice, this, [](const QString&) { QFAIL("nothing was saved"); });
        const Media generated = inlineImage("data:image/png;base64,YWJj");
        const auto isAskedAgain = [&] {
            const int before = asked;
            saver->save(generated, [] { return FileCache::Keep::OnDisk; });
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
        QVERIFY(!panel.stop_requested());
        saver->abandon();
        runQueued();
        QVERIFY(panel.stop_requested()); // which closes it
        panels.back().succeed(std::optional(place.filePath(u"image.png"_qs)));
        runQueued();
        saver.reset(); // what was begun is written then
        QVERIFY(!QFile::exists(place.filePath(u"image.png"_qs)));
    }

    void savesAnAnswersImage() {
        SignedInWorld world;
        const QString chat = world.ask(u"Draw an image"_qs);
        const ChatMessage answer = world.last(chat);
        QVERIFY(answer.media);
        world.savePath = world.folder.filePath(u"picture.png"_qs);
        const auto save = [&](const QString& id) {
            world.page.send({{u"type"_qs, u"saveMedia"_qs}, {u"id"_qs, id}});
        };
        save(u"unknown"_qs);
        save(world.model().selectedChat()->messages.first().id); // has no media
        QCOMPARE(world.suggestedNames, QStringList());
        save(answer.id);
        QCOMPARE(world.suggestedNames, QStringList{u"Teskal image.png"_qs});
        QVERIFY(waitUntil([&] { return world.model().toast() == saved; }));
        QVERIFY(contentOf(world.savePath).startsWith("\x89PNG"));
    }

    void filesOfTheShownChat() {
        SignedInWorld world;
        AppModel& model = world.model();
        const auto store = [&](const char* id, FileCache::Keep keep) {
            model.files().store(id, u"image/png"_qs, QLatin1String(id), keep);
        };
        store("file-disk", FileCache::Keep::OnDisk);
        store("file-memory", FileCache::Keep::InMemory);
        store("file-elsewhere", FileCache::Keep::OnDisk);
        model.files().flush();
        const auto find = [&](const char* id) {
            return waitFor([&](std::stop_token stop) {
                return model.transcriptFiles().find(QLatin1String(id), std::move(stop));
            });
        };
        const FileLookup missing(FileAbsence::Missing);
        QVERIFY(find("file-disk") == missing); // nothing is shown
        show(world, {"file-disk", "file-memory", "file-unknown", "../x"});
        const PageFile onDisk = std::get<PageFile>(find("file-disk"));
        QCOMPARE(contentOf(onDisk.path), QByteArray("file-disk"));
        QCOMPARE(onDisk.mediaType, u"image/png"_qs);
        const PageFile inMemory = std::get<PageFile>(find("file-memory"));
        QVERIFY(inMemory.isInMemory());
        QCOMPARE(inMemory.bytes, QByteArray("file-memory"));
        for (const char* id : {"file-elsewhere", "file-unknown", "../x"})
            QVERIFY2(find(id) == missing, id);
        QCOMPARE(world.control.requests(filesPath).size(), 1); // for the unknown one
    }

    void filesOfThePrivateChat() {
        const QByteArray bytes("from the service");
        SignedInWorld world;
        show(world, {"file-saved"});
        Chat secret;
        secret.id = u"private"_qs;
        secret.messages = {messageWith({"file-secret"}), messageWith({}, storedImage(u"file-drawn"_qs))};
        ChatStore& chats = chatsOf(world);
        chats.setPrivateChat(secret);
        const auto find = [&](const char* id) {
            world.control.next({{u"path"_qs, filesPath},
                                {u"status"_qs, 200},
                                {u"body"_qs, QString::fromLatin1(bytes)},
                                {u"headers"_qs, QJsonObject{{u"Content-Type"_qs, u"image/webp"_qs}}}});
            return waitFor([&](std::stop_token stop) {
                return world.model().transcriptFiles().find(QLatin1String(id), std::move(stop));
            });
        };
        const auto isOnDisk = [&](const char* id) {
            return QFile::exists(world.folder.filePath(u"Files/"_qs + QLatin1String(id)));
        };
        // Whatever is selected: what the page has been shown may still be on its way.
        QCOMPARE(std::get<PageFile>(find("file-secret")).bytes, bytes);
        world.model().select(secret.id);
        QCOMPARE(std::get<PageFile>(find("file-drawn")).bytes, bytes);
        QVERIFY(!isOnDisk("file-secret") && !isOnDisk("file-drawn"));
        world.model().select(std::nullopt);
        chats.setPrivateChat(std::nullopt);
        QVERIFY(find("file-secret") == FileLookup(FileAbsence::Missing));
        QVERIFY(!isOnDisk("file-secret"));
    }

    void savesNothingOfAPrivateChatThatEnded() {
        SignedInWorld world;
        world.savePath = world.folder.filePath(u"picture.png"_qs);
        Chat secret;
        secret.id = u"private"_qs;
        secret.messages = {messageWith({}, storedImage(u"file-drawn"_qs))};
        ChatStore& chats = chatsOf(world);
        chats.setPrivateChat(secret);
        world.model().select(secret.id);
        world.control.hold(filesPath);
        world.model().saveMedia(secret.messages.first().id);
        QVERIFY(world.control.wait(filesPath, u"held"_qs));
        chats.setPrivateChat(std::nullopt); // ends the download
        QVERIFY(waitUntil([&] { return world.model().toast() == notSaved; }));
        QVERIFY(!QFile::exists(world.savePath));
    }

    void links_data() {
        // opened: empty for none
        const auto row = columns<QString>("opened");
        for (const char* opened :
             {"https://example.com/a?b#c", "http://example.com", "HTTPS://EXAMPLE.COM", "mailto:a@b.c",
              "mailto:a@b.c,d@e.f?Subject=Hi%20there&body=x%26y%0Az&cc=g@h.i", "mailto:?to=a@b.c"})
            row(opened, opened);
        for (const char* dropped :
             {"file:///etc/passwd", "javascript:alert(1)", "data:text/html,x",
              "teskal-app://renderer/index.html", "app.teskal.mac://callback?code=x", "//example.com", ""})
            row(dropped, "");
        row("mailto:a@b.c?attach=/etc/passwd&bcc=d@e.f&subject=Hi", "mailto:a@b.c?subject=Hi");
        row("mailto:a@b.c?attach%6Dent=/etc/passwd", "mailto:a@b.c");
        row("mailto:a@b.c?sub%6Aect=a?attach=/etc/passwd",
            "mailto:a@b.c?subject=a%3Fattach%3D%2Fetc%2Fpasswd");
        row("mailto:a@b.c%26attach=/etc/passwd", "mailto:a@b.c%26attach%3D%2Fetc%2Fpasswd");
        row("MAILTO:a@b.c?body", "mailto:a@b.c");
    }

    void links() {
        const QString link = QString::fromLatin1(QTest::currentDataTag());
        QTEST(outsideLink(link).value_or(QString()), "opened");
    }

    void filesWithoutAnAccount() {
        World world;
        FileSource& source = world.model().transcriptFiles();
        const auto find = [&](std::stop_token stop) { return source.find(fileId, std::move(stop)); };
        QVERIFY(waitFor(find) == FileLookup(FileAbsence::NoAccount));
        world.signIn();
        show(world, {"file-1"});
        world.control.hold(filesPath);
        auto stopped = start(find);
        auto waiting = start(find);
        QVERIFY(world.control.wait(filesPath, u"held"_qs));
        stopped.stop();
        QVERIFY(stopped.error<Cancelled>());
        world.model().signOut();
        QVERIFY(waiting.result() == FileLookup(FileAbsence::NoAccount));
    }

    void sheets() {
        World world;
        int changes = 0;
        connect(&world.model(), &AppModel::sheetChanged, this, [&] { ++changes; });
        const auto open = [&](const char* name) {
            world.page.send({{u"type"_qs, u"openSheet"_qs}, {u"sheet"_qs, QLatin1String(name)}});
            const std::optional<Sheet> sheet = world.model().sheet();
            return sheet ? sheetName(*sheet) : QString();
        };
        QCOMPARE(open("Credits"), QString());
        QCOMPARE(open("settings"), QString());
        for (const char* name : {"credits", "keys", "routes"})
            QCOMPARE(open(name), QLatin1String(name));
        QCOMPARE(open("routes"), u"routes"_qs);
        QCOMPARE(open("nothing"), u"routes"_qs);
        world.model().setSheet(std::nullopt);
        QCOMPARE(changes, 4);
        for (const char* link : {"https://example.com", "file:///etc/passwd"})
            world.page.send({{u"type"_qs, u"openLink"_qs}, {u"url"_qs, QLatin1String(link)}});
        QCOMPARE(world.openedLinks, QStringList{u"https://example.com"_qs});
    }

    void noticesLastThreeAndAHalfSeconds() {
        ManualClock clock;
        World world({}, &clock);
        world.model().show(u"one"_qs);
        clock.advance(std::chrono::seconds(1));
        world.model().show(u"two"_qs);
        clock.advance(std::chrono::milliseconds(3499));
        QCOMPARE(world.model().toast(), u"two"_qs);
        clock.advance(std::chrono::milliseconds(1));
        QCOMPARE(world.model().toast(), QString());
    }

    void linkPreviews() {
        SignedInWorld world;
        const auto ask = [&](int id, const char* path) {
            world.page.send({{u"type"_qs, u"fetch"_qs},
                             {u"id"_qs, id},
                             {u"path"_qs, QLatin1String(path)},
                             {u"method"_qs, u"GET"_qs},
                             {u"body"_qs, QString()}});
            QStringList calls;
            const bool answered = waitUntil([&] { return !(calls = world.page.takeCalls()).isEmpty(); });
            return answered ? calls.first() : u"no answer"_qs;
        };
        world.page.takeCalls();
        const QString card = ask(1, "/api/unfurl?url=https%3A%2F%2Fexample.com%2Fa");
        QVERIFY2(card.startsWith(u"fetchResult(1, 200, \"{"), qPrintable(card));
        QVERIFY2(card.contains(u"https://example.com/a"), qPrintable(card));
        QCOMPARE(ask(2, "/api/keys"),
                 u"fetchResult(2, 403, \"{\\\"error\\\":\\\"Not allowed\\\"}\", \"application/json\")"_qs);
        QCOMPARE(world.control.requests(u"/api/keys"_qs).size(), 0);
        world.control.next({{u"path"_qs, u"/api/unfurl"_qs}, {u"drop"_qs, true}});
        QCOMPARE(ask(3, "/api/unfurl?url=x"),
                 u"fetchResult(3, 502, \"{\\\"error\\\":\\\"Offline\\\"}\", \"application/json\")"_qs);
    }
};

QTEST_GUILESS_MAIN(TestPageRequests)
#include "TestPageRequests.moc"
