#include "Columns.h"
#include "TestFiles.h"
#include "World.h"

using namespace teskal::test;

namespace {

const QString tooMany = u"Attach up to 6 files per message."_qs;

/// A file in the world's folder; of the picture type, it is attached as it is.
QUrl file(World& world, const QString& name) {
    const QString path = world.folder.filePath(name);
    writeFile(path, "Content");
    return QUrl::fromLocalFile(path);
}

QStringList namesOf(const AppModel& model) {
    QStringList names;
    for (const DraftFile& one : model.draftFiles())
        names.append(one.name);
    return names;
}

bool waitForFiles(World& world) {
    return waitUntil([&world] {
        const auto files = world.model().draftFiles();
        return std::none_of(files.begin(), files.end(), [](const DraftFile& one) { return one.preparing; });
    });
}

} // namespace

/// What is written and attached, chat by chat, until it is sent.
class TestDrafts final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void eachChatHasItsOwn() {
        SignedInWorld world;
        AppModel& model = world.model();
        QSignalSpy changed(&model, &AppModel::draftChanged);
        QSignalSpy switched(&model, &AppModel::draftSwitched);
        QSignalSpy moved(&model, &AppModel::draftMoved);
        model.setDraft(u"half a thought"_qs);
        model.setDraft(u"half a thought"_qs);
        QCOMPARE(changed.size(), 1);
        const QString chat = world.send(u"Hello"_qs); // as a click in the page
        QCOMPARE(moved.takeFirst(), (QVariantList{QString(), chat}));
        QCOMPARE(model.draft(), u"half a thought"_qs);
        QVERIFY(!model.canSend()); // an answer is running
        QVERIFY(world.waitForEnd(chat));
        QVERIFY(model.canSend());

        switched.clear();
        model.newChat();
        QCOMPARE(switched.size(), 1);
        QCOMPARE(model.draft(), QString());
        model.setDraft(u"another"_qs);
        model.addWords(chat, u" spoken \n"_qs);
        model.addWords(chat, u" "_qs);
        model.addWords(u"gone"_qs, u"nobody hears"_qs);
        QCOMPARE(model.draft(), u"another"_qs);
        model.select(chat);
        QCOMPARE(model.draft(), u"half a thought spoken"_qs);
        model.deleteChat(chat);
        QCOMPARE(model.draft(), u"another"_qs);
        model.signOut();
        QCOMPARE(model.draft(), QString());
        QVERIFY(!model.canSend());
    }

    void sentWithFiles() {
        SignedInWorld world;
        AppModel& model = world.model();
        model.attach({file(world, u"map.png"_qs)});
        model.setDraft(u" \n"_qs);
        model.sendDraft(); // not before it is ready
        QVERIFY(!model.selection());
        QVERIFY(waitForFiles(world));
        QImage pasted(2, 2, QImage::Format_RGB32);
        pasted.fill(Qt::red);
        model.attachImage(pasted, u"Pasted image.png"_qs);
        QVERIFY(waitForFiles(world));
        model.sendDraft();
        const QString chat = model.selection().value();
        QCOMPARE(model.draft(), QString());
        QVERIFY(model.draftFiles().isEmpty());
        const ChatMessage question = model.store().chat(chat)->messages.first();
        QCOMPARE(question.content, QString());
        QCOMPARE(question.attachments.first().dataUrl.value(), u"data:image/png;base64,Q29udGVudA=="_qs);
        QCOMPARE(question.attachments.last().name, u"Pasted image.png"_qs);
        QCOMPARE(model.store().chat(chat)->title, u"map.png"_qs);
        QVERIFY(world.waitForEnd(chat));
        QCOMPARE(world.errorOf(chat), QString());
        const QJsonValue sent = world.control.requests(chatPath).first()[u"json"];
        QCOMPARE(sent[u"messages"][0][u"attachments"].toArray().size(), 2);
    }

    void preparedForTheChatWhereItBegan() {
        SignedInWorld world;
        AppModel& model = world.model();
        const QString chat = world.ask(u"Hello"_qs);
        model.attach({file(world, u"a.png"_qs), file(world, u"b.png"_qs)});
        model.removeDraftFile(model.draftFiles().first().number); // while it is being prepared
        model.newChat();
        model.attachTo(chat, {file(world, u"c.png"_qs)}); // picked in a dialog that was opened there
        model.attachTo(u"gone"_qs, {file(world, u"d.png"_qs)});
        QVERIFY(model.draftFiles().isEmpty());
        const QString other = world.ask(u"Hello again"_qs);
        model.select(chat);
        QVERIFY(waitForFiles(world));
        QCOMPARE(namesOf(model), (QStringList{u"b.png"_qs, u"c.png"_qs}));
        model.removeDraftFile(model.draftFiles().first().number);
        model.removeDraftFile(model.draftFiles().first().number);
        QVERIFY(model.draftFiles().isEmpty());
    }

    void sixFilesAtMost_data() {
        const auto row = columns<QString, int>("first", "firstLeft"); // of nine files
        row("all are good", "1.png", 1);
        row("the first is not", "1.txt", 2);
    }

    void sixFilesAtMost() {
        FETCH(QString, first, int, firstLeft);
        SignedInWorld world;
        QList<QUrl> files{file(world, first)};
        for (int i = 2; i <= 9; ++i)
            files.append(file(world, u"%1.png"_qs.arg(i)));
        world.model().attach(files);
        QCOMPARE(world.model().draftFiles().size(), 6); // those being prepared count
        QVERIFY(waitUntil([&] { return world.model().toast() == tooMany; }));
        QVERIFY(waitForFiles(world));
        QStringList left;
        for (int i = firstLeft; i < firstLeft + 6; ++i)
            left.append(u"%1.png"_qs.arg(i));
        QCOMPARE(namesOf(world.model()), left);
        world.model().show(QString());
        world.model().attach({files.last()});
        QCOMPARE(world.model().toast(), tooMany);
    }

    void goneWithTheirDraft_data() {
        // count: of files; more than six wait
        columns<QString, int, bool>("ending", "count", "areReady");
        for (const char* ending : {"chat deleted", "private chat left", "signed out", "another account"}) {
            QTest::addRow("%s, ready", ending) << QString::fromLatin1(ending) << 2 << true;
            QTest::addRow("%s, being prepared", ending) << QString::fromLatin1(ending) << 2 << false;
            // The way to another account takes its time, in which it is said that there are too many.
            if (qstrcmp(ending, "another account") != 0)
                QTest::addRow("%s, waiting", ending) << QString::fromLatin1(ending) << 8 << false;
        }
    }

    /// Nothing of them turns up later, neither in another draft nor as a notice.
    void goneWithTheirDraft() {
        FETCH(QString, ending, int, count, bool, areReady);
        SignedInWorld world;
        AppModel& model = world.model();
        // The end of a session would break these off, and sometimes the next sign-in's first request with
        // them.
        QVERIFY(waitUntil([&] { return !model.balance().isRefreshing(); }));
        for (const char* path : {"/api/chats", "/api/folders"})
            QVERIFY(world.control.wait(QLatin1String(path), u"finished"_qs));
        QString chat;
        if (ending == u"private chat left")
            model.newPrivateChat();
        else if (ending == u"chat deleted")
            chat = world.ask(u"Hello"_qs);
        QList<QUrl> files;
        for (int i = 1; i <= count; ++i)
            files.append(file(world, u"%1.png"_qs.arg(i)));
        model.attach(files);
        if (areReady)
            QVERIFY(waitForFiles(world));
        QCOMPARE(model.draftFiles().size(), std::min(count, 6));

        if (ending == u"chat deleted") {
            model.deleteChat(chat);
        } else if (ending == u"private chat left") {
            model.newChat();
        } else {
            if (ending == u"signed out")
                model.signOut();
            else
                world.control.post(u"consent"_qs, QJsonObject{{u"email"_qs, u"other@example.com"_qs},
                                                              {u"automatic"_qs, true}});
            world.signIn();
        }
        QVERIFY(model.draftFiles().isEmpty());
        model.attach({file(world, u"later.png"_qs)}); // prepared after whatever is left of them
        QVERIFY(waitForFiles(world));
        QCOMPARE(namesOf(model), QStringList{u"later.png"_qs});
        QCOMPARE(model.toast(), QString());
    }
};

QTEST_GUILESS_MAIN(TestDrafts)
#include "TestDrafts.moc"
