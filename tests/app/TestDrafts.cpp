#include "World.h"

#include <QFile>
#include <QImage>
#include <QJsonArray>
#include <QSignalSpy>
#include <QTest>

using namespace teskal;
using namespace teskal::test;

namespace {

const QString tooMany = QStringLiteral("Attach up to 6 files per message.");

/// A file in the world's folder; of the picture type, it is attached as it is.
QUrl file(World& world, const QString& name) {
    QFile made(world.folder.filePath(name));
    if (!made.open(QFile::WriteOnly) || made.write("Content") < 0)
        qFatal("no file can be made");
    return QUrl::fromLocalFile(made.fileName());
}

QStringList namesOf(const AppModel& model) {
    QStringList names;
    for (const DraftFile& one : model.draftFiles())
        names.append(one.name);
    return names;
}

bool waitForFiles(World& world) {
    return waitUntil([&world] {
        for (const DraftFile& one : world.model().draftFiles())
            if (one.preparing)
                return false;
        return true;
    });
}

} // namespace

/// What is written and attached, chat by chat, until it is sent.
class TestDrafts final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void eachChatHasItsOwn();
    void sentWithFiles();
    void preparedForTheChatWhereItBegan();
    void sixFilesAtMost_data();
    void sixFilesAtMost();
    void goneWithTheirDraft_data();
    void goneWithTheirDraft();
};

void TestDrafts::eachChatHasItsOwn() {
    World world;
    world.signIn();
    AppModel& model = world.model();
    QSignalSpy changed(&model, &AppModel::draftChanged);
    QSignalSpy switched(&model, &AppModel::draftSwitched);
    QSignalSpy moved(&model, &AppModel::draftMoved);
    model.setDraft(QStringLiteral("half a thought"));
    model.setDraft(QStringLiteral("half a thought"));
    QCOMPARE(changed.size(), 1);
    const QString chat = world.send(QStringLiteral("Hello")); // as a click in the page
    QCOMPARE(moved.takeFirst(), (QVariantList{QString(), chat}));
    QCOMPARE(model.draft(), QStringLiteral("half a thought"));
    QVERIFY(!model.canSend()); // an answer is running
    QVERIFY(world.waitForEnd(chat));
    QVERIFY(model.canSend());

    switched.clear();
    model.newChat();
    QCOMPARE(switched.size(), 1);
    QCOMPARE(model.draft(), QString());
    model.setDraft(QStringLiteral("another"));
    model.addWords(chat, QStringLiteral(" spoken \n"));
    model.addWords(chat, QStringLiteral(" "));
    model.addWords(QStringLiteral("gone"), QStringLiteral("nobody hears"));
    QCOMPARE(model.draft(), QStringLiteral("another"));
    model.select(chat);
    QCOMPARE(model.draft(), QStringLiteral("half a thought spoken"));
    model.deleteChat(chat);
    QCOMPARE(model.draft(), QStringLiteral("another"));
    model.signOut();
    QCOMPARE(model.draft(), QString());
    QVERIFY(!model.canSend());
}

void TestDrafts::sentWithFiles() {
    World world;
    world.signIn();
    AppModel& model = world.model();
    model.attach({file(world, QStringLiteral("map.png"))});
    model.setDraft(QStringLiteral(" \n"));
    model.sendDraft(); // not before it is ready
    QVERIFY(!model.selection());
    QVERIFY(waitForFiles(world));
    QImage pasted(2, 2, QImage::Format_RGB32);
    pasted.fill(Qt::red);
    model.attachImage(pasted, QStringLiteral("Pasted image.png"));
    QVERIFY(waitForFiles(world));
    model.sendDraft();
    const QString chat = model.selection().value();
    QCOMPARE(model.draft(), QString());
    QVERIFY(model.draftFiles().isEmpty());
    const ChatMessage question = model.store().chat(chat)->messages.first();
    QCOMPARE(question.content, QString());
    QCOMPARE(question.attachments.first().dataUrl.value(),
             QStringLiteral("data:image/png;base64,Q29udGVudA=="));
    QCOMPARE(question.attachments.last().name, QStringLiteral("Pasted image.png"));
    QCOMPARE(model.store().chat(chat)->title, QStringLiteral("map.png"));
    QVERIFY(world.waitForEnd(chat));
    QCOMPARE(world.errorOf(chat), QString());
    const QJsonValue sent = world.control.requests(chatPath).first()[QLatin1String("json")];
    QCOMPARE(sent[QLatin1String("messages")][0][QLatin1String("attachments")].toArray().size(), 2);
}

void TestDrafts::preparedForTheChatWhereItBegan() {
    World world;
    world.signIn();
    AppModel& model = world.model();
    const QString chat = world.send(QStringLiteral("Hello"));
    QVERIFY(world.waitForEnd(chat));
    model.attach({file(world, QStringLiteral("a.png")), file(world, QStringLiteral("b.png"))});
    model.removeDraftFile(model.draftFiles().first().number); // while it is being prepared
    model.newChat();
    model.attachTo(chat, {file(world, QStringLiteral("c.png"))}); // picked in a dialog that was opened there
    model.attachTo(QStringLiteral("gone"), {file(world, QStringLiteral("d.png"))});
    QVERIFY(model.draftFiles().isEmpty());
    const QString other = world.send(QStringLiteral("Hello again"));
    QVERIFY(world.waitForEnd(other));
    model.select(chat);
    QVERIFY(waitForFiles(world));
    QCOMPARE(namesOf(model), (QStringList{QStringLiteral("b.png"), QStringLiteral("c.png")}));
    model.removeDraftFile(model.draftFiles().first().number);
    model.removeDraftFile(model.draftFiles().first().number);
    QVERIFY(model.draftFiles().isEmpty());
}

void TestDrafts::sixFilesAtMost_data() {
    QTest::addColumn<QString>("first");
    QTest::addColumn<QStringList>("left"); // of nine files
    const auto numbered = [](int from, int to) {
        QStringList names;
        for (int i = from; i <= to; ++i)
            names.append(QStringLiteral("%1.png").arg(i));
        return names;
    };
    QTest::newRow("all are good") << QStringLiteral("1.png") << numbered(1, 6);
    QTest::newRow("the first is not") << QStringLiteral("1.txt") << numbered(2, 7);
}

void TestDrafts::sixFilesAtMost() {
    QFETCH(const QString, first);
    QFETCH(const QStringList, left);
    World world;
    world.signIn();
    QList<QUrl> files{file(world, first)};
    for (int i = 2; i <= 9; ++i)
        files.append(file(world, QStringLiteral("%1.png").arg(i)));
    world.model().attach(files);
    QCOMPARE(world.model().draftFiles().size(), 6); // those being prepared count
    QVERIFY(waitUntil([&] { return world.model().toast() == tooMany; }));
    QVERIFY(waitForFiles(world));
    QCOMPARE(namesOf(world.model()), left);
    world.model().show(QString());
    world.model().attach({files.last()});
    QCOMPARE(world.model().toast(), tooMany);
}

void TestDrafts::goneWithTheirDraft_data() {
    QTest::addColumn<QString>("ending");
    QTest::addColumn<int>("count"); // of files; more than six wait
    QTest::addColumn<bool>("areReady");
    for (const char* ending : {"chat deleted", "private chat left", "signed out", "another account"}) {
        QTest::addRow("%s, ready", ending) << QString::fromLatin1(ending) << 2 << true;
        QTest::addRow("%s, being prepared", ending) << QString::fromLatin1(ending) << 2 << false;
        // The way to another account takes its time, in which it is said that there are too many.
        if (qstrcmp(ending, "another account") != 0)
            QTest::addRow("%s, waiting", ending) << QString::fromLatin1(ending) << 8 << false;
    }
}

/// Nothing of them turns up later, neither in another draft nor as a notice.
void TestDrafts::goneWithTheirDraft() {
    QFETCH(const QString, ending);
    QFETCH(const int, count);
    QFETCH(const bool, areReady);
    World world;
    world.signIn();
    AppModel& model = world.model();
    // The end of a session would break these off, and sometimes the next sign-in's first request with them.
    QVERIFY(waitUntil([&] { return !model.balance().isRefreshing(); }));
    for (const char* path : {"/api/chats", "/api/folders"})
        QVERIFY(world.control.wait(QLatin1String(path), QStringLiteral("finished")));
    QString chat;
    if (ending == QLatin1String("private chat left")) {
        model.newPrivateChat();
    } else if (ending == QLatin1String("chat deleted")) {
        chat = world.send(QStringLiteral("Hello"));
        QVERIFY(world.waitForEnd(chat));
    }
    QList<QUrl> files;
    for (int i = 1; i <= count; ++i)
        files.append(file(world, QStringLiteral("%1.png").arg(i)));
    model.attach(files);
    if (areReady)
        QVERIFY(waitForFiles(world));
    QCOMPARE(model.draftFiles().size(), std::min(count, 6));

    if (ending == QLatin1String("chat deleted")) {
        model.deleteChat(chat);
    } else if (ending == QLatin1String("private chat left")) {
        model.newChat();
    } else {
        if (ending == QLatin1String("signed out"))
            model.signOut();
        else
            world.control.post(QStringLiteral("consent"),
                               QJsonObject{{QStringLiteral("email"), QStringLiteral("other@example.com")},
                                           {QStringLiteral("automatic"), true}});
        world.signIn();
    }
    QVERIFY(model.draftFiles().isEmpty());
    model.attach({file(world, QStringLiteral("later.png"))}); // prepared after whatever is left of them
    QVERIFY(waitForFiles(world));
    QCOMPARE(namesOf(model), QStringList{QStringLiteral("later.png")});
    QCOMPARE(model.toast(), QString());
}

QTEST_GUILESS_MAIN(TestDrafts)
#include "TestDrafts.moc"
