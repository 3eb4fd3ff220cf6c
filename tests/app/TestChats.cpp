#include "Columns.h"
#include "World.h"

using namespace teskal::test;

namespace {

const QString chatsPath = u"/api/chats"_qs;
const QString secret = u"nobody must know"_qs;

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
    return world.ask(u"Hello"_qs);
}

QString outcomeOfLastAnswer(World& world) {
    if (!world.control.wait(chatPath, u"finished"_qs, int(world.control.requests(chatPath).size())))
        qFatal("the request goes on");
    return world.control.lastRequest(chatPath)[u"outcome"].toString();
}

/// A way to leave the private chat that is shown.
using Leave = void (*)(AppModel&, const QString& otherChat);

} // namespace

Q_DECLARE_METATYPE(Leave)

/// Chats that come and go: private ones, deleted ones, and what is asked about them.
class TestChats final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void privateChatIsLeftWhileAnswering_data() {
        const auto row = columns<Leave>("leave");
        row("no chat", [](AppModel& model, const QString&) { model.newChat(); });
        row("another chat", [](AppModel& model, const QString& other) { model.select(other); });
        row("another private chat", [](AppModel& model, const QString&) { model.newPrivateChat(); });
        row("deleted",
            [](AppModel& model, const QString&) { model.deleteChat(QString(*model.selection())); });
        row("all deleted", [](AppModel& model, const QString&) { model.deleteAllChats(); });
        row("signed out", [](AppModel& model, const QString&) { model.signOut(); });
    }

    void privateChatIsLeftWhileAnswering() {
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
        QCOMPARE(model.selectedChat()->title, u"Private chat"_qs);
        const QString chat = beginAnswer(world, secret);
        QCOMPARE(world.control.lastRequest(chatPath)[u"headers"][u"x-teskal-private"], u"1"_qs);
        model.setDraft(secret);
        model.prompts().setConfirmingDelete(chat);
        const QString read = world.last(chat).id;
        model.speak(read, u"aloud"_qs);
        QSignalSpy answered(&model, &AppModel::answered);

        leave(model, other);
        QVERIFY(!model.store().chat(chat) && !model.isAnswering(chat) && model.selection() != chat);
        QCOMPARE(model.draft(), QString());
        QVERIFY(!model.prompts().confirmingDelete() && model.audioOf(read) == AudioState::Idle);
        QCOMPARE(outcomeOfLastAnswer(world), u"clientLeft"_qs);
        QCOMPARE(answered.size(), 0);
        model.flush();
        for (const Chat& saved : world.stored(owner)) {
            QCOMPARE(saved.id, other);
            QVERIFY(saved.messages.first().content != secret);
        }
    }

    void privateChatStaysForClicksOutside() {
        SignedInWorld world;
        const QString other = answeredChat(world);
        world.model().newChat();
        world.model().openFromOutside(u"gone"_qs);
        QVERIFY(!world.model().selection());
        world.model().openFromOutside(other);
        QCOMPARE(world.model().selection().value(), other);
        world.model().newPrivateChat();
        world.model().openFromOutside(other);
        world.model().openFromOutside(std::nullopt);
        QVERIFY(world.model().isPrivateShown());
    }

    /// A notification of an earlier start is clicked while the chats are read.
    void openedFromOutsideWhileChatsAreRead() {
        SignedInWorld world;
        const QString chat = answeredChat(world);
        for (const bool changesMind : {false, true}) {
            world.quit();
            world.launch([&](AppModel& model) {
                model.openFromOutside(chat);
                QVERIFY(model.store().isLoading() && !model.selection()); // nobody waits
                if (changesMind)
                    model.newChat();
            });
            QCOMPARE(world.model().selection(), changesMind ? std::nullopt : std::optional(chat));
        }
    }

    void deletedWhileAnswering() {
        SignedInWorld world;
        AppModel& model = world.model();
        const QString other = answeredChat(world);
        model.newChat();
        const QString chat = beginAnswer(world, u"Count"_qs);
        QSignalSpy answered(&model, &AppModel::answered);
        QSignalSpy ended(&model, &AppModel::answeringChanged);
        model.deleteChat(chat);
        QVERIFY(!model.selection() && !model.store().chat(chat));
        QVERIFY(waitUntil([&] { return ended.size() == 1; }));
        QCOMPARE(model.answeringChats(), QStringList());
        QCOMPARE(outcomeOfLastAnswer(world), u"clientLeft"_qs);
        QCOMPARE(answered.size(), 0); // there is nothing to look at
        model.select(other);
        model.deleteChat(u"gone"_qs);
        QCOMPARE(model.selection().value(), other);
        model.syncNow();
        QVERIFY(world.control.wait(chatsPath + u"&method=DELETE"_qs, u"finished"_qs));
        const QJsonObject request = world.control.lastRequest(chatsPath + u"&method=DELETE"_qs);
        QCOMPARE(request[u"query"][u"id"].toString(), chat);
    }

    void allDeletedWhileAnswering() {
        SignedInWorld world;
        AppModel& model = world.model();
        answeredChat(world);
        model.newChat();
        beginAnswer(world, u"Count"_qs);
        model.setDraft(u"of the second"_qs);
        model.deleteAllChats();
        QCOMPARE(model.store().count(), 0);
        QVERIFY(!model.selection());
        QCOMPARE(model.draft(), QString());
        QVERIFY(model.answeringChats().isEmpty());
        model.syncNow();
        QVERIFY(world.control.wait(chatsPath + u"&method=DELETE"_qs, u"finished"_qs, 2));
        world.control.releaseAll();
        QCOMPARE(outcomeOfLastAnswer(world), u"clientLeft"_qs);
        QCOMPARE(model.store().count(), 0);
    }

    void foldersAndPrompts() {
        SignedInWorld world;
        AppModel& model = world.model();
        const QString chat = answeredChat(world);
        model.submitFolderName(u"Work"_qs, FolderPrompt::create(chat));
        model.newPrivateChat();
        model.submitFolderName(u"Secret"_qs, FolderPrompt::create(*model.selection()));
        model.submitFolderName(u" "_qs, FolderPrompt::create(chat));
        QCOMPARE(model.folders().folders().size(), 2);
        QCOMPARE(model.folders().filed().size(), 1);
        const Folder work = model.folders().folders().first();
        QCOMPARE(model.folders().folderFor(chat), work.id);
        model.submitFolderName(u"Play"_qs, FolderPrompt::rename(work));
        QCOMPARE(model.folders().folders().first().name, u"Play"_qs);

        Prompts& prompts = model.prompts();
        QSignalSpy renaming(&prompts, &Prompts::renamingChanged);
        prompts.setRenaming(chat);
        prompts.setRenaming(chat);
        prompts.setConfirmingDelete(chat);
        prompts.setFolderPrompt(FolderPrompt::rename(work));
        prompts.setConfirmingFolderDelete(work);
        QCOMPARE(renaming.size(), 1);
        model.renameChat(chat, u"  Mine "_qs);
        model.renameChat(chat, u" "_qs);
        QCOMPARE(model.store().chat(chat)->title, u"Mine"_qs);
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
};

QTEST_GUILESS_MAIN(TestChats)
#include "TestChats.moc"
