#include "ChatRepair.h"
#include "Columns.h"

#include "StoreFixture.h"

#include <QDir>
#include <QTest>

using namespace teskal;
using namespace teskal::test;
using namespace std::chrono_literals;

namespace {

using Touch = ChatStore::Touch;
using Save = ChatStore::Save;

const QString account = QStringLiteral("account1");
const QString accountFile = QStringLiteral("account1.json");

/// A file with one answer in the state that \a members add to it.
QByteArray fileWithAnswer(const QByteArray& members) {
    return R"([{"id":"c1","title":"t","createdAt":1000,"updatedAt":2000,"messages":[{"id":"m1","role":"assistant",)" +
           members + "}]}]";
}

void addMessage(ChatStore& store, const QString& chat, const QString& id, bool pending = false) {
    store.update(chat, Touch::No, Save::No, [&](Chat& changed) {
        ChatMessage message;
        message.id = id;
        message.role = Role::Assistant;
        message.pending = pending;
        changed.messages.append(message);
    });
}

} // namespace

/// The chats in memory: claiming, changing, order, and what the signals say.
class TestChatStore final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void loadedAnswersAreMended_data() {
        columns<QByteArray, bool, QString>("members", "pending", "error");
        const auto row = [](const char* name, const char* members, bool pending, const QString& error = {}) {
            QTest::newRow(name) << QByteArray(members) << pending << error;
        };
        const QString quit = QStringLiteral("Stopped when Teskal quit.");
        row("no text", R"("content":"","pending":true)", false, quit);
        row("some text", R"("content":"Half","pending":true)", false);
        row("finished media", R"("content":"","pending":true,"media":{"type":"image","status":"done"})",
            false);
        row("running job", R"("content":"","pending":true,"media":{"type":"video","status":"pending"})",
            true);
        row("not pending", R"("content":"","pending":false)", false);
        row("failed before", R"("content":"","error":{"message":"Lost."})", false, QStringLiteral("Lost."));
    }
    void loadedAnswersAreMended() {
        QFETCH(const QByteArray, members);
        StoreFixture fixture;
        fixture.putFile(accountFile, fileWithAnswer(members));
        fixture.claim(account);
        const ChatMessage* message = fixture.store.message(QStringLiteral("c1"), QStringLiteral("m1"));
        QVERIFY(message);
        QTEST(message->pending, "pending");
        QTEST(message->error ? message->error->message : QString(), "error");
        QVERIFY(!message->error || !message->error->code);
    }

    void loadedTimesAreWhole() {
        StoreFixture fixture;
        fixture.putFile(accountFile,
                        R"([{"id":"c1","title":"t","createdAt":1699999999999.8,"updatedAt":1700000000000.2,)"
                        R"("messages":[]}])");
        fixture.claim(account);
        QCOMPARE(fixture.store.at(0).createdAt, 1699999999999.0);
        QCOMPARE(fixture.store.at(0).updatedAt, 1700000000001.0);
    }

    void loadedOrder() {
        StoreFixture fixture;
        const auto chat = [](const char* id, int updatedAt) {
            return QByteArray("{\"id\":\"") + id + "\",\"title\":\"" + id +
                   "\",\"createdAt\":1,\"messages\":[],\"updatedAt\":" + QByteArray::number(updatedAt) + "}";
        };
        fixture.putFile(accountFile, "[" + chat("a", 5) + "," + chat("b", 9) + "," + chat("c", 5) + "," +
                                         chat("d", 7) + "," + chat("a", 4) + "]");
        fixture.claim(account);
        QCOMPARE(fixture.titles().join(QString()), QStringLiteral("bdac"));
        QCOMPARE(fixture.store.rowOf(QStringLiteral("c")), 3);
        QCOMPARE(fixture.store.rowOf(QStringLiteral("x")), -1);
        QCOMPARE(fixture.takeSignals(), (QStringList{QStringLiteral("reset"), QStringLiteral("loaded")}));
    }

    void claimingAgainDoesNothing() {
        StoreFixture fixture;
        fixture.claim(account);
        fixture.store.create(QStringLiteral("one"));
        const quint64 generation = fixture.store.claimGeneration();
        fixture.takeSignals();
        fixture.claim(account);
        QCOMPARE(fixture.takeSignals(), QStringList());
        QCOMPARE(fixture.store.claimGeneration(), generation);
        QVERIFY(!QFile::exists(fixture.path(accountFile)));
        QCOMPARE(fixture.titles(), QStringList{QStringLiteral("one")});
    }

    void accountsDoNotMix() {
        StoreFixture fixture;
        const QString other = QStringLiteral("a|b.c");
        fixture.claim(account);
        fixture.store.create(QStringLiteral("mine"));
        fixture.claim(other);
        QCOMPARE(fixture.store.count(), 0);
        fixture.store.create(QStringLiteral("theirs"));
        fixture.claim(std::nullopt);
        QCOMPARE(fixture.store.count(), 0);
        QVERIFY(fixture.fileContent(accountFile).contains("mine"));
        QVERIFY(fixture.fileContent(QStringLiteral("a%7Cb%2Ec.json")).contains("theirs"));
        QCOMPARE(QDir(fixture.path(QString())).entryList(QDir::Files).size(), 2);
        fixture.claim(account);
        QCOMPARE(fixture.titles(), QStringList{QStringLiteral("mine")});
    }

    void unreadableFileGivesAnEmptyList_data() {
        const auto row = columns<QByteArray>("content");
        row("empty", QByteArray());
        row("a chat without id", R"([{"title":"t","createdAt":1,"updatedAt":1,"messages":[]}])");
        row("10,000 levels", QByteArray(10'000, '[') + QByteArray(10'000, ']'));
    }
    void unreadableFileGivesAnEmptyList() {
        QFETCH(const QByteArray, content);
        StoreFixture fixture;
        fixture.putFile(accountFile, content);
        fixture.claim(account);
        QCOMPARE(fixture.store.count(), 0);
        QCOMPARE(fixture.fileContent(accountFile), content);
    }

    void creating() {
        StoreFixture fixture;
        fixture.claim(account);
        const QString first = fixture.store.create(QStringLiteral("first"));
        fixture.clock.advance(5ms);
        const QString second = fixture.store.create(QString());
        QVERIFY(first != second);
        QCOMPARE(fixture.titles(), (QStringList{QStringLiteral("New chat"), QStringLiteral("first")}));
        QCOMPARE(fixture.store.at(0).createdAt, fixture.clock.nowMs());
        QCOMPARE(fixture.store.at(0).updatedAt, fixture.clock.nowMs());
        QCOMPARE(fixture.takeSignals(),
                 (QStringList{QStringLiteral("reset"), QStringLiteral("inserted 0"), QStringLiteral("edited"),
                              QStringLiteral("inserted 0"), QStringLiteral("edited")}));
    }

    void touchingMovesToTheTop() {
        StoreFixture fixture;
        fixture.claim(account);
        const QString a = fixture.store.create(QStringLiteral("a"));
        const QString b = fixture.store.create(QStringLiteral("b"));
        fixture.store.create(QStringLiteral("c"));
        addMessage(fixture.store, b, QStringLiteral("m"));
        fixture.takeSignals();
        fixture.clock.advance(1ms);

        fixture.store.update(a, Touch::Yes, Save::Yes, [](Chat& chat) { chat.title = QStringLiteral("A"); });
        QCOMPARE(fixture.takeSignals(),
                 (QStringList{QStringLiteral("moved 2 0"), QStringLiteral("changed ") + a,
                              QStringLiteral("edited")}));
        fixture.clock.advance(1ms);
        fixture.store.updateMessage(b, QStringLiteral("m"), Touch::Yes, Save::Yes,
                                    [](ChatMessage& m) { m.content = QStringLiteral("x"); });
        QCOMPARE(fixture.takeSignals(),
                 (QStringList{QStringLiteral("moved 2 0"), QStringLiteral("message %1 m").arg(b),
                              QStringLiteral("edited")}));
        QCOMPARE(fixture.titles().join(QString()), QStringLiteral("bAc"));
        fixture.store.update(a, Touch::No, Save::No, [](Chat& chat) { chat.title = QStringLiteral("aa"); });
        QCOMPARE(fixture.titles().join(QString()), QStringLiteral("baac"));
    }

    void touchingNeverGoesBackInTime() {
        StoreFixture fixture;
        fixture.putFile(accountFile,
                        R"([{"id":"c1","title":"t","createdAt":1,"updatedAt":9e15,"messages":[]}])");
        fixture.claim(account);
        const QString id = fixture.store.create(QStringLiteral("new"));
        const auto touch = [&](const QString& chat) {
            fixture.store.update(chat, Touch::Yes, Save::Yes, [](Chat&) {});
            return fixture.store.chat(chat)->updatedAt;
        };
        QCOMPARE(touch(QStringLiteral("c1")), 9e15 + 1);
        QCOMPARE(touch(id), fixture.clock.nowMs() + 1); // a second change in the same millisecond
        fixture.clock.advance(1s);
        QCOMPARE(touch(id), fixture.clock.nowMs());
    }

    void changesOfUnknownAreSilent() {
        StoreFixture fixture;
        fixture.claim(account);
        const QString id = fixture.store.create(QStringLiteral("a"));
        fixture.store.flush();
        fixture.takeSignals();
        const auto mustNotRun = [](auto&) { QFAIL("called for nothing"); };
        fixture.store.update(QStringLiteral("x"), Touch::Yes, Save::Yes, mustNotRun);
        fixture.store.updateMessage(id, QStringLiteral("x"), Touch::Yes, Save::Yes, mustNotRun);
        fixture.store.updateMessage(QStringLiteral("x"), QStringLiteral("x"), Touch::Yes, Save::Yes,
                                    mustNotRun);
        fixture.store.remove(QStringLiteral("x"));
        fixture.store.stopPending();
        QCOMPARE(fixture.takeSignals(), QStringList());
        QCOMPARE(fixture.clock.pending(), 0u);
        QVERIFY(!fixture.store.chat(QStringLiteral("x")));
        QVERIFY(!fixture.store.message(id, QStringLiteral("x")));
    }

    void changesThatChangeNothingAreSilent() {
        StoreFixture fixture;
        fixture.claim(account);
        const QString id = fixture.store.create(QStringLiteral("a"));
        addMessage(fixture.store, id, QStringLiteral("m"));
        fixture.store.flush();
        fixture.takeSignals();
        fixture.store.update(id, Touch::No, Save::Yes, [](Chat& chat) { chat.title = QStringLiteral("a"); });
        fixture.store.updateMessage(id, QStringLiteral("m"), Touch::No, Save::Yes,
                                    [](ChatMessage& message) { message.content.clear(); });
        QCOMPARE(fixture.takeSignals(), QStringList());
        QCOMPARE(fixture.clock.pending(), 0u);
    }

    void oneMessageOneSignal() {
        StoreFixture fixture;
        fixture.claim(account);
        const QString id = fixture.store.create(QStringLiteral("a"));
        for (int i = 0; i < 1'000; ++i)
            addMessage(fixture.store, id, QString::number(i));
        const ChatMessage* const untouched = fixture.store.message(id, QStringLiteral("5"));
        const double updatedAt = fixture.store.at(0).updatedAt;
        fixture.store.flush();
        fixture.takeSignals();
        fixture.clock.advance(1s);
        fixture.store.updateMessage(id, QStringLiteral("999"), Touch::No, Save::No,
                                    [](ChatMessage& message) { message.content = QStringLiteral("more"); });
        QCOMPARE(fixture.takeSignals(), QStringList{QStringLiteral("message %1 999").arg(id)});
        QCOMPARE(fixture.store.at(0).updatedAt, updatedAt);
        QCOMPARE(fixture.store.message(id, QStringLiteral("5")), untouched); // the list was not copied
        QCOMPARE(fixture.clock.pending(), 0u);                               // and no save was started
    }

    void removing() {
        StoreFixture fixture;
        fixture.claim(account);
        const QString a = fixture.store.create(QStringLiteral("a"));
        fixture.store.create(QStringLiteral("b"));
        fixture.takeSignals();
        fixture.store.remove(a);
        const QString time = QString::number(fixture.clock.nowMs(), 'f', 0);
        QCOMPARE(fixture.takeSignals(),
                 (QStringList{QStringLiteral("removed 1 ") + a, QStringLiteral("edited"),
                              QStringLiteral("deleted %1@%2").arg(a, time)}));
        QVERIFY(!fixture.store.chat(a));
        QCOMPARE(fixture.titles(), QStringList{QStringLiteral("b")});
        const QString b = fixture.store.at(0).id;
        fixture.store.removeAll();
        QCOMPARE(fixture.takeSignals(), (QStringList{QStringLiteral("reset"), QStringLiteral("edited"),
                                                     QStringLiteral("deleted %1@%2").arg(b, time)}));
        QCOMPARE(fixture.store.count(), 0);
        fixture.store.removeAll();
        QCOMPARE(fixture.takeSignals(), QStringList());
        fixture.store.flush();
        QCOMPARE(fixture.fileContent(accountFile), "[]");
    }

    /// What another device did is no change of the user's: it is saved, and nobody is asked to send it back.
    void quietChanges() {
        StoreFixture fixture;
        fixture.claim(account);
        Chat chat;
        chat.title = QStringLiteral("x");
        for (const auto& [id, time] : {std::pair(QStringLiteral("a"), 30.0),
                                       {QStringLiteral("b"), 20.0},
                                       {QStringLiteral("c"), 25.0}}) {
            chat.id = id;
            chat.updatedAt = time;
            fixture.store.upsertQuiet(chat);
        }
        QCOMPARE(fixture.takeSignals(),
                 (QStringList{QStringLiteral("reset"), QStringLiteral("inserted 0"),
                              QStringLiteral("inserted 1"), QStringLiteral("inserted 1")}));
        fixture.store.upsertQuiet(*fixture.store.chat(QStringLiteral("b"))); // nothing new
        chat.id = QStringLiteral("a");
        chat.updatedAt = 22;
        chat.messages.append(ChatMessage());
        fixture.store.upsertQuiet(chat);
        QCOMPARE(*fixture.store.chat(QStringLiteral("a")), chat);
        fixture.store.updateMessageQuiet(QStringLiteral("a"), QString(), [](ChatMessage& message) {
            message.attachments.append(
                {QStringLiteral("n"), QStringLiteral("t"), {}, QStringLiteral("file"), false});
        });
        fixture.store.removeQuiet(QStringLiteral("b"));
        fixture.store.removeQuiet(QStringLiteral("b"));
        QCOMPARE(fixture.takeSignals(),
                 (QStringList{QStringLiteral("moved 0 1"), QStringLiteral("changed a"),
                              QStringLiteral("message a "), QStringLiteral("removed 2 b")}));
        fixture.pass(600ms);
        const QList<Chat> stored = decodeChats(fixture.fileContent(accountFile));
        QCOMPARE(stored, (QList<Chat>{fixture.store.at(0), fixture.store.at(1)}));
        QCOMPARE(stored.last().messages.first().attachments.first().fileId, QStringLiteral("file"));
    }

    void stoppingPending() {
        StoreFixture fixture;
        fixture.putFile(accountFile, R"([{"id":"b","title":"b","createdAt":1,"updatedAt":5,"messages":[]},)"
                                     R"({"id":"a","title":"a","createdAt":1,"updatedAt":5,"messages":[]}])");
        fixture.claim(account);
        const QString a = QStringLiteral("a");
        for (const char* id : {"empty", "text", "media", "done"})
            addMessage(fixture.store, a, QLatin1String(id), id != QByteArray("done"));
        const auto set = [&](const char* id, const std::function<void(ChatMessage&)>& change) {
            fixture.store.updateMessage(a, QLatin1String(id), Touch::No, Save::No, change);
        };
        set("text", [](ChatMessage& message) { message.content = QStringLiteral("Half"); });
        set("media",
            [](ChatMessage& message) { message.media.emplace().status = QStringLiteral("pending"); });
        fixture.takeSignals();

        fixture.store.stopPending();
        const auto message = [&](const char* id) { return *fixture.store.message(a, QLatin1String(id)); };
        for (const char* id : {"empty", "text", "media", "done"})
            QVERIFY(!message(id).pending);
        QCOMPARE(message("empty").error->code.value(), QStringLiteral("STOPPED"));
        QCOMPARE(message("empty").error->message, QStringLiteral("Stopped before an answer came back."));
        QVERIFY(!message("text").error && !message("media").error && !message("done").error);
        // It is newer than the other chat now and stands above it, as it will after the next start.
        QCOMPARE(fixture.takeSignals(), (QStringList{QStringLiteral("moved 1 0"), QStringLiteral("edited"),
                                                     QStringLiteral("changed a")}));
        QCOMPARE(fixture.clock.pending(), 1u);
    }
};

QTEST_GUILESS_MAIN(TestChatStore)
#include "TestChatStore.moc"
