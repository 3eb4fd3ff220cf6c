#include "World.h"

#include <QJsonArray>
#include <QSignalSpy>
#include <QTest>

using namespace teskal;
using namespace teskal::test;

namespace {

const QString chatsPath = QStringLiteral("/api/chats");
const QString secret = QStringLiteral("nobody must know");

/// Begins an answer of which only the beginning arrives.
QString beginAnswer(World& world, const QString& question) {
    world.holdInTheMiddle();
    const QString chat = world.send(question);
    if (!world.waitForText(chat))
        qFatal("no text arrives");
    return chat;
}

QString answeredChat(World& world) {
    world.model().select(std::nullopt);
    const QString chat = world.send(QStringLiteral("Hello"));
    if (!world.waitForEnd(chat))
        qFatal("the answer does not end");
    return chat;
}

QString outcomeOfLastAnswer(World& world) {
    if (!world.control.wait(chatPath, QStringLiteral("finished"),
                            int(world.control.requests(chatPath).size())))
        qFatal("the request goes on");
    return world.control.lastRequest(chatPath)[QLatin1String("outcome")].toString();
}

/// A way to leave the private chat that is shown.
using Leave = void (*)(AppModel&, const QString& otherChat);

} // namespace

Q_DECLARE_METATYPE(Leave)

/// Chats that come and go: private ones, deleted ones, and what is asked about them.
class TestChats final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void privateChatIsLeftWhileAnswering_data();
    void privateChatIsLeftWhileAnswering();
    void privateChatStaysForClicksOutside();
    void deletedWhileAnswering();
    void allDeletedWhileAnswering();
    void foldersAndPrompts();
};

void TestChats::privateChatIsLeftWhileAnswering_data() {
    QTest::addColumn<Leave>("leave");
    const auto row = [](const char* name, Leave leave) { QTest::newRow(name) << leave; };
    row("no chat", [](AppModel& model, const QString&) { model.newChat(); });
    row("another chat", [](AppModel& model, const QString& other) { model.select(other); });
    row("another private chat", [](AppModel& model, const QString&) { model.newPrivateChat(); });
    row("deleted", [](AppModel& model, const QString&) { model.deleteChat(QString(*model.selection())); });
    row("all deleted", [](AppModel& model, const QString&) { model.deleteAllChats(); });
    row("signed out", [](AppModel& model, const QString&) { model.signOut(); });
}

void TestChats::privateChatIsLeftWhileAnswering() {
    QFETCH(const Leave, leave);
    World world;
    world.model().newPrivateChat();
    QVERIFY(!world.model().selection()); // nobody is signed in
    world.signIn();
    AppModel& model = world.model();
    const QString owner = model.store().owner().value();
    const QString other = answeredChat(world);
    model.newPrivateChat();
    QVERIFY(model.isPrivateShown());
    QCOMPARE(model.selectedChat()->title, QStringLiteral("Private chat"));
    const QString chat = beginAnswer(world, secret);
    QCOMPARE(world.control.lastRequest(chatPath)[QLatin1String("headers")][QLatin1String("x-teskal-private")],
             QStringLiteral("1"));
    model.setDraft(secret);
    model.prompts().setConfirmingDelete(chat);
    const QString read = world.last(chat).id;
    model.speak(read, QStringLiteral("aloud"));
    QSignalSpy answered(&model, &AppModel::answered);

    leave(model, other);
    QVERIFY(!model.store().chat(chat));
    QVERIFY(!model.isAnswering(chat));
    QVERIFY(model.selection() != chat);
    QCOMPARE(model.draft(), QString());
    QVERIFY(!model.prompts().confirmingDelete());
    QVERIFY(model.audioOf(read) == AudioState::Idle);
    QCOMPARE(outcomeOfLastAnswer(world), QStringLiteral("clientLeft"));
    QCOMPARE(answered.size(), 0);
    model.flush();
    for (const Chat& saved : world.stored(owner)) {
        QCOMPARE(saved.id, other);
        QVERIFY(saved.messages.first().content != secret);
    }
}

void TestChats::privateChatStaysForClicksOutside() {
    World world;
    world.signIn();
    const QString other = answeredChat(world);
    world.model().newChat();
    world.model().openFromOutside(QStringLiteral("gone"));
    QVERIFY(!world.model().selection());
    world.model().openFromOutside(other);
    QCOMPARE(world.model().selection().value(), other);
    world.model().newPrivateChat();
    world.model().openFromOutside(other);
    world.model().openFromOutside(std::nullopt);
    QVERIFY(world.model().isPrivateShown());
}

void TestChats::deletedWhileAnswering() {
    World world;
    world.signIn();
    AppModel& model = world.model();
    const QString other = answeredChat(world);
    model.newChat();
    const QString chat = beginAnswer(world, QStringLiteral("Count"));
    QSignalSpy answered(&model, &AppModel::answered);
    QSignalSpy ended(&model, &AppModel::answeringChanged);
    model.deleteChat(chat);
    QVERIFY(!model.selection() && !model.store().chat(chat));
    QVERIFY(waitUntil([&] { return ended.size() == 1; }));
    QCOMPARE(model.answeringChats(), QStringList());
    QCOMPARE(outcomeOfLastAnswer(world), QStringLiteral("clientLeft"));
    QCOMPARE(answered.size(), 0); // there is nothing to look at
    model.select(other);
    model.deleteChat(QStringLiteral("gone"));
    QCOMPARE(model.selection().value(), other);
    model.syncNow();
    QVERIFY(world.control.wait(chatsPath + QStringLiteral("&method=DELETE"), QStringLiteral("finished")));
    const QJsonObject request = world.control.lastRequest(chatsPath + QStringLiteral("&method=DELETE"));
    QCOMPARE(request[QLatin1String("query")][QLatin1String("id")].toString(), chat);
}

void TestChats::allDeletedWhileAnswering() {
    World world;
    world.signIn();
    AppModel& model = world.model();
    answeredChat(world);
    model.newChat();
    beginAnswer(world, QStringLiteral("Count"));
    model.setDraft(QStringLiteral("of the second"));
    model.deleteAllChats();
    QCOMPARE(model.store().count(), 0);
    QVERIFY(!model.selection());
    QCOMPARE(model.draft(), QString());
    QVERIFY(model.answeringChats().isEmpty());
    model.syncNow();
    QVERIFY(world.control.wait(chatsPath + QStringLiteral("&method=DELETE"), QStringLiteral("finished"), 2));
    world.control.releaseAll();
    QCOMPARE(outcomeOfLastAnswer(world), QStringLiteral("clientLeft"));
    QCOMPARE(model.store().count(), 0);
}

void TestChats::foldersAndPrompts() {
    World world;
    world.signIn();
    AppModel& model = world.model();
    const QString chat = answeredChat(world);
    model.submitFolderName(QStringLiteral("Work"), FolderPrompt::create(chat));
    model.newPrivateChat();
    model.submitFolderName(QStringLiteral("Secret"), FolderPrompt::create(*model.selection()));
    model.submitFolderName(QStringLiteral(" "), FolderPrompt::create(chat));
    QCOMPARE(model.folders().folders().size(), 2);
    QCOMPARE(model.folders().filed().size(), 1);
    const Folder work = model.folders().folders().first();
    QCOMPARE(model.folders().folderFor(chat), work.id);
    model.submitFolderName(QStringLiteral("Play"), FolderPrompt::rename(work));
    QCOMPARE(model.folders().folders().first().name, QStringLiteral("Play"));

    Prompts& prompts = model.prompts();
    QSignalSpy renaming(&prompts, &Prompts::renamingChanged);
    prompts.setRenaming(chat);
    prompts.setRenaming(chat);
    prompts.setConfirmingDelete(chat);
    prompts.setFolderPrompt(FolderPrompt::rename(work));
    prompts.setConfirmingFolderDelete(work);
    QCOMPARE(renaming.size(), 1);
    model.renameChat(chat, QStringLiteral("  Mine "));
    model.renameChat(chat, QStringLiteral(" "));
    QCOMPARE(model.store().chat(chat)->title, QStringLiteral("Mine"));
    model.folders().remove(work.id);
    QVERIFY(!prompts.folderPrompt() && !prompts.confirmingFolderDelete());
    QVERIFY(prompts.renaming() && prompts.confirmingDelete());
    model.deleteChat(chat);
    QVERIFY(!prompts.renaming() && !prompts.confirmingDelete());
    QCOMPARE(renaming.size(), 2);
    prompts.setFolderPrompt(FolderPrompt::create());
    model.setSheet(Sheet::Keys);
    model.signOut();
    QVERIFY(!prompts.folderPrompt() && !model.sheet());
}

QTEST_GUILESS_MAIN(TestChats)
#include "TestChats.moc"
