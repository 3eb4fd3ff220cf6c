#include "AccountFileName.h"
#include "Columns.h"
#include "Pending.h"
#include "TestFiles.h"
#include "World.h"

using namespace teskal::test;

namespace {

const QString chatsPath = u"/api/chats"_qs;
const QString foldersPath = u"/api/folders"_qs;

QStringList methods(World& world, const QString& path) {
    QStringList all;
    const QJsonArray requests = world.control.requests(path);
    for (const auto& request : requests)
        all.append(request.toObject().value(u"method").toString());
    return all;
}

} // namespace

/// What the model ties together: chats, folders and files of the account, the service, and what is on screen.
class TestSyncing final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void chatsGoToAndComeFromOtherDevices() {
        SignedInWorld world;
        const QString id = world.ask(u"Hello"_qs);
        world.model().syncNow();
        QVERIFY(world.control.wait(chatsPath + u"&method=PUT"_qs, u"finished"_qs));
        const TeskalAPI other = world.otherDevice();
        WireChat chat = waitFor([&](std::stop_token stop) { return other.getChat(id, stop); }).value();
        QCOMPARE(chat.messages->size(), 2);
        QVERIFY(!chat.messages->last().content->isEmpty());

        chat.title = u"Renamed elsewhere"_qs;
        chat.updatedAt += 60'000;
        waitFor([&](std::stop_token stop) { return other.putChat(chat, stop); });
        world.model().syncNow();
        QVERIFY(waitUntil([&] { return world.model().selectedChat()->title == chat.title; }));

        waitFor([&](std::stop_token stop) { return other.deleteChat(id, chat.updatedAt, stop); });
        world.model().syncNow();
        QVERIFY(waitUntil([&] { return !world.model().selection(); }));
        QCOMPARE(world.model().store().count(), 0);
        QCOMPARE(methods(world, chatsPath).count(u"DELETE"_qs), 1); // only the other device's
    }

    void newSignInTriesAgain() {
        World world;
        for (const QString& path : {chatsPath, foldersPath})
            world.control.next({{u"path"_qs, path}, {u"status"_qs, 503}});
        world.signIn();
        QVERIFY(world.control.wait(chatsPath, u"finished"_qs));
        QVERIFY(world.control.wait(foldersPath, u"finished"_qs));
        runQueued();
        world.model().syncNow();
        world.signIn(); // the same person
        QVERIFY(world.control.wait(chatsPath, u"finished"_qs, 2));
        QVERIFY(world.control.wait(foldersPath, u"finished"_qs, 2));
        QCOMPARE(world.control.requests(u"/oauth/authorize"_qs).size(), 2);
        QCOMPARE(methods(world, chatsPath).size(), 2); // the request in between was not made
    }

    void foldersTellTheUser() {
        SignedInWorld world;
        world.control.next({{u"path"_qs, foldersPath},
                            {u"status"_qs, 413},
                            {u"json"_qs, QJsonObject{{u"error"_qs, u"No room for more folders."_qs}}}});
        QVERIFY(world.model().folders().create(u"Work"_qs));
        world.model().syncNow();
        QVERIFY(waitUntil([&] { return world.model().toast() == u"No room for more folders."_qs; }));

        const QString owner = accountFileName(*world.model().store().owner());
        world.quit();
        QVERIFY(QFile::exists(world.folder.filePath(owner + u".folders.json"_qs)));
        world.launch();
        QVERIFY(waitUntil([&] { return world.model().folders().folders().size() == 1; }));
    }

    void sentFilesAreCached() {
        SignedInWorld world;
        const QString owner = accountFileName(*world.model().store().owner());
        world.quit();
        Chat chat;
        chat.id = u"chat"_qs;
        chat.title = u"With a picture"_qs;
        chat.updatedAt = 1;
        ChatMessage message;
        message.id = u"m"_qs;
        message.attachments.append(
            {u"n"_qs, u"image/png"_qs, u"data:image/png;base64,UGljdHVyZQ=="_qs, {}, false});
        chat.messages.append(message);
        writeFile(world.folder.filePath(owner + u".json"_qs), encodeChats({chat}));
        world.launch();
        const auto attachment = [&] {
            const ChatMessage* found = world.model().store().message(chat.id, message.id);
            return found ? found->attachments.first() : Attachment();
        };
        QVERIFY(waitUntil([&] { return attachment().fileId.has_value(); }));
        world.model().files().flush();
        const auto cached = waitFor(
            [&](std::stop_token stop) { return world.model().files().local(*attachment().fileId, stop); });
        QCOMPARE(cached.mediaType, u"image/png"_qs);
        QCOMPARE(contentOf(cached.path), QByteArray("Picture"));
        QCOMPARE(methods(world, u"/api/files"_qs), QStringList{u"POST"_qs});
    }
};

QTEST_GUILESS_MAIN(TestSyncing)
#include "TestSyncing.moc"
