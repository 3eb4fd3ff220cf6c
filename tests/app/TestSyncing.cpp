#include "World.h"

#include "AccountFileName.h"
#include "Pending.h"

#include <QJsonArray>
#include <QTest>

using namespace teskal;
using namespace teskal::test;

namespace {

const QString chatsPath = QStringLiteral("/api/chats");
const QString foldersPath = QStringLiteral("/api/folders");

QStringList methods(World& world, const QString& path) {
    QStringList all;
    const QJsonArray requests = world.control.requests(path);
    for (const auto& request : requests)
        all.append(request.toObject().value(QLatin1String("method")).toString());
    return all;
}

} // namespace

/// What the model ties together: chats, folders and files of the account, the service, and what is on screen.
class TestSyncing final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void chatsGoToAndComeFromOtherDevices();
    void newSignInTriesAgain();
    void foldersTellTheUser();
    void sentFilesAreCached();
};

void TestSyncing::chatsGoToAndComeFromOtherDevices() {
    World world;
    world.signIn();
    const QString id = world.send(QStringLiteral("Hello"));
    QVERIFY(world.waitForEnd(id));
    world.model().syncNow();
    QVERIFY(world.control.wait(chatsPath + QStringLiteral("&method=PUT"), QStringLiteral("finished")));
    const TeskalAPI other = world.otherDevice();
    WireChat chat = waitFor([&](std::stop_token stop) { return other.getChat(id, stop); }).value();
    QCOMPARE(chat.messages->size(), 2);
    QVERIFY(!chat.messages->last().content->isEmpty());

    chat.title = QStringLiteral("Renamed elsewhere");
    chat.updatedAt += 60'000;
    waitFor([&](std::stop_token stop) { return other.putChat(chat, stop); });
    world.model().syncNow();
    QVERIFY(waitUntil([&] { return world.model().selectedChat()->title == chat.title; }));

    waitFor([&](std::stop_token stop) { return other.deleteChat(id, chat.updatedAt, stop); });
    world.model().syncNow();
    QVERIFY(waitUntil([&] { return !world.model().selection(); }));
    QCOMPARE(world.model().store().count(), 0);
    QCOMPARE(methods(world, chatsPath).count(QStringLiteral("DELETE")), 1); // only the other device's
}

void TestSyncing::newSignInTriesAgain() {
    World world;
    for (const QString& path : {chatsPath, foldersPath})
        world.control.next({{QStringLiteral("path"), path}, {QStringLiteral("status"), 503}});
    world.signIn();
    QVERIFY(world.control.wait(chatsPath, QStringLiteral("finished")));
    QVERIFY(world.control.wait(foldersPath, QStringLiteral("finished")));
    runQueued();
    world.model().syncNow();
    world.signIn(); // the same person
    QVERIFY(world.control.wait(chatsPath, QStringLiteral("finished"), 2));
    QVERIFY(world.control.wait(foldersPath, QStringLiteral("finished"), 2));
    QCOMPARE(world.control.requests(QStringLiteral("/oauth/authorize")).size(), 2);
    QCOMPARE(methods(world, chatsPath).size(), 2); // the request in between was not made
}

void TestSyncing::foldersTellTheUser() {
    World world;
    world.signIn();
    world.control.next(
        {{QStringLiteral("path"), foldersPath},
         {QStringLiteral("status"), 413},
         {QStringLiteral("json"),
          QJsonObject{{QStringLiteral("error"), QStringLiteral("No room for more folders.")}}}});
    QVERIFY(world.model().folders().create(QStringLiteral("Work")));
    world.model().syncNow();
    QVERIFY(waitUntil([&] { return world.model().toast() == QStringLiteral("No room for more folders."); }));

    const QString owner = accountFileName(*world.model().store().owner());
    world.quit();
    QVERIFY(QFile::exists(world.folder.filePath(owner + QStringLiteral(".folders.json"))));
    world.launch();
    QVERIFY(waitUntil([&] { return world.model().folders().folders().size() == 1; }));
}

void TestSyncing::sentFilesAreCached() {
    World world;
    world.signIn();
    const QString owner = accountFileName(*world.model().store().owner());
    world.quit();
    Chat chat;
    chat.id = QStringLiteral("chat");
    chat.title = QStringLiteral("With a picture");
    chat.updatedAt = 1;
    ChatMessage message;
    message.id = QStringLiteral("m");
    message.attachments.append({QStringLiteral("n"),
                                QStringLiteral("image/png"),
                                QStringLiteral("data:image/png;base64,UGljdHVyZQ=="),
                                {},
                                false});
    chat.messages.append(message);
    QFile file(world.folder.filePath(owner + QStringLiteral(".json")));
    QVERIFY(file.open(QFile::WriteOnly));
    file.write(encodeChats({chat}));
    file.close();
    world.launch();
    const auto attachment = [&] {
        const ChatMessage* found = world.model().store().message(chat.id, message.id);
        return found ? found->attachments.first() : Attachment();
    };
    QVERIFY(waitUntil([&] { return attachment().fileId.has_value(); }));
    world.model().files().flush();
    const auto cached = waitFor(
        [&](std::stop_token stop) { return world.model().files().local(*attachment().fileId, stop); });
    QCOMPARE(cached.mediaType, QStringLiteral("image/png"));
    QFile copy(cached.path);
    QVERIFY(copy.open(QFile::ReadOnly));
    QCOMPARE(copy.readAll(), QByteArray("Picture"));
    QCOMPARE(methods(world, QStringLiteral("/api/files")), QStringList{QStringLiteral("POST")});
}

QTEST_GUILESS_MAIN(TestSyncing)
#include "TestSyncing.moc"
