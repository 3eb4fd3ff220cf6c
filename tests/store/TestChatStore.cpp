#include "ChatRepair.h"
#include "Columns.h"
#include "StoreFixture.h"

using namespace teskal::test;
using namespace std::chrono_literals;

namespace {

/// A file with one answer in the state that \a members add to it.
QByteArray fileWithAnswer(const QByteArray& members) {
    return R"([{"id":"c1","title":"t","createdAt":1000,"updatedAt":2000,"messages":[{"id":"m1","role":"assistant",)" +
           members + "}]}]";
}

} // namespace

/// The chats in memory: claiming, changing, order, and what the signals say.
class TestChatStore final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void loadedAnswersAreMended_data() {
        const auto row = columns<QByteArray, bool, QString>("members", "pending", "error");
        row("no text", R"("content":"","pending":true)", false, "Stopped when Teskal quit.");
        row("some text", R"("content":"Half","pending":true)", false);
        row("finished media", R"("content":"","pending":true,"media":{"type":"image","status":"done"})",
            false);
        row("running job", R"("content":"","pending":true,"media":{"type":"video","status":"pending"})",
            true);
        row("not pending", R"("content":"","pending":false)", false);
        row("failed before", R"("content":"","error":{"message":"Lost."})", false, "Lost.");
    }
    void loadedAnswersAreMended() {
        QFETCH(const QByteArray, members);
        StoreFixture fixture(account, fileWithAnswer(members));
        const ChatMessage* message = fixture.store.message(u"c1"_qs, u"m1"_qs);
        QVERIFY(message);
        QTEST(message->pending, "pending");
        QTEST(message->error ? message->error->message : QString(), "error");
        QVERIFY(!message->error || !message->error->code);
    }

    void loadedOrderAndWholeTimes() {
        const auto chat = [](const char* id, double updatedAt) {
            return QByteArray("{\"id\":\"") + id + "\",\"title\":\"" + id +
                   "\",\"createdAt\":1.8,\"messages\":[],\"updatedAt\":" + QByteArray::number(updatedAt) +
                   "}";
        };
        StoreFixture fixture(account, "[" + chat("a", 5) + "," + chat("b", 8.2) + "," + chat("c", 5) + "," +
                                          chat("d", 7) + "," + chat("a", 4) + "]");
        QCOMPARE(fixture.titles(), u"b d a c"_qs);
        QCOMPARE(fixture.store.at(0).createdAt, 1.0);
        QCOMPARE(fixture.store.at(0).updatedAt, 9.0);
        QCOMPARE(fixture.store.rowOf(u"c"_qs), 3);
        QCOMPARE(fixture.store.rowOf(u"x"_qs), -1);
        QCOMPARE(fixture.takeSignals(), u"reset, loaded"_qs);
    }

    void accountsDoNotMix() {
        StoreFixture fixture(account);
        const QString other = u"a|b.c"_qs;
        fixture.store.create(u"mine"_qs);
        const quint64 generation = fixture.store.claimGeneration();
        fixture.takeSignals();
        fixture.claim(account); // does nothing when it is claimed already
        QCOMPARE(fixture.takeSignals(), QString());
        QCOMPARE(fixture.store.claimGeneration(), generation);
        QVERIFY(!QFile::exists(fixture.path(accountFile)));
        QCOMPARE(fixture.titles(), u"mine"_qs);
        fixture.claim(other);
        QCOMPARE(fixture.store.count(), 0);
        fixture.store.create(u"theirs"_qs);
        fixture.claim(std::nullopt);
        QCOMPARE(fixture.store.count(), 0);
        QVERIFY(fixture.fileContent().contains("mine"));
        QVERIFY(fixture.fileContent(u"a%7Cb%2Ec.json"_qs).contains("theirs"));
        QCOMPARE(fixture.files().size(), 2);
        fixture.claim(account);
        QCOMPARE(fixture.titles(), u"mine"_qs);
    }

    void unreadableFileGivesAnEmptyList_data() {
        const auto row = columns<QByteArray>("content");
        row("empty", QByteArray());
        row("a chat without id", R"([{"title":"t","createdAt":1,"updatedAt":1,"messages":[]}])");
        row("10,000 levels", QByteArray(10'000, '[') + QByteArray(10'000, ']'));
    }
    void unreadableFileGivesAnEmptyList() {
        QFETCH(const QByteArray, content);
        StoreFixture fixture(account, content);
        QCOMPARE(fixture.store.count(), 0);
        QCOMPARE(fixture.fileContent(), content);
    }

    void creating() {
        StoreFixture fixture(account);
        const QString first = fixture.store.create(u"first"_qs);
        fixture.clock.advance(5ms);
        const QString second = fixture.store.create(QString());
        QVERIFY(first != second);
        QCOMPARE(fixture.titles(), u"New chat first"_qs);
        QCOMPARE(fixture.store.at(0).createdAt, fixture.clock.nowMs());
        QCOMPARE(fixture.store.at(0).updatedAt, fixture.clock.nowMs());
        QCOMPARE(fixture.takeSignals(), u"reset, inserted 0, edited, inserted 0, edited"_qs);
    }

    void touchingMovesToTheTop() {
        StoreFixture fixture(account);
        const QString a = fixture.store.create(u"a"_qs);
        const QString b = fixture.store.create(u"b"_qs);
        fixture.store.create(u"c"_qs);
        addMessage(fixture.store, b, u"m"_qs);
        fixture.takeSignals();
        fixture.clock.advance(1ms);

        fixture.store.update(a, Touch::Yes, Save::Yes, [](Chat& chat) { chat.title = u"A"_qs; });
        QCOMPARE(fixture.takeSignals(), u"moved 2 0, changed %1, edited"_qs.arg(a));
        fixture.clock.advance(1ms);
        fixture.store.updateMessage(b, u"m"_qs, Touch::Yes, Save::Yes,
                                    [](ChatMessage& m) { m.content = u"x"_qs; });
        QCOMPARE(fixture.takeSignals(), u"moved 2 0, message %1 m, edited"_qs.arg(b));
        QCOMPARE(fixture.titles(), u"b A c"_qs);
        retitle(fixture.store, a, u"aa"_qs, Save::No);
        QCOMPARE(fixture.titles(), u"b aa c"_qs);
    }

    void touchingNeverGoesBackInTime() {
        StoreFixture fixture(account,
                             R"([{"id":"c1","title":"t","createdAt":1,"updatedAt":9e15,"messages":[]}])");
        const QString id = fixture.store.create(u"new"_qs);
        const auto touch = [&](const QString& chat) {
            fixture.store.update(chat, Touch::Yes, Save::Yes, [](Chat&) {});
            return fixture.store.chat(chat)->updatedAt;
        };
        QCOMPARE(touch(u"c1"_qs), 9e15 + 1);
        QCOMPARE(touch(id), fixture.clock.nowMs() + 1); // a second change in the same millisecond
        fixture.clock.advance(1s);
        QCOMPARE(touch(id), fixture.clock.nowMs());
    }

    void changesOfNothingAreSilent() {
        StoreFixture fixture(account);
        const QString id = fixture.store.create(u"a"_qs);
        addMessage(fixture.store, id, u"m"_qs);
        fixture.store.flush();
        fixture.takeSignals();
        retitle(fixture.store, id, u"a"_qs);
        fixture.store.updateMessage(id, u"m"_qs, Touch::No, Save::Yes,
                                    [](ChatMessage& message) { message.content.clear(); });
        const QString unknown = u"x"_qs;
        const auto mustNotRun = [](auto&) { QFAIL("called for nothing"); };
        fixture.store.update(unknown, Touch::Yes, Save::Yes, mustNotRun);
        fixture.store.updateMessage(id, unknown, Touch::Yes, Save::Yes, mustNotRun);
        fixture.store.updateMessage(unknown, unknown, Touch::Yes, Save::Yes, mustNotRun);
        fixture.store.remove(unknown);
        fixture.store.stopPending();
        QCOMPARE(fixture.takeSignals(), QString());
        QCOMPARE(fixture.clock.pending(), 0u);
        QVERIFY(!fixture.store.chat(unknown));
        QVERIFY(!fixture.store.message(id, unknown));
    }

    void oneMessageOneSignal() {
        StoreFixture fixture(account);
        const QString id = fixture.store.create(u"a"_qs);
        for (int i = 0; i < 1'000; ++i)
            addMessage(fixture.store, id, QString::number(i));
        const ChatMessage* const untouched = fixture.store.message(id, u"5"_qs);
        const double updatedAt = fixture.store.at(0).updatedAt;
        fixture.store.flush();
        fixture.takeSignals();
        fixture.clock.advance(1s);
        fixture.store.updateMessage(id, u"999"_qs, Touch::No, Save::No,
                                    [](ChatMessage& message) { message.content = u"more"_qs; });
        QCOMPARE(fixture.takeSignals(), u"message %1 999"_qs.arg(id));
        QCOMPARE(fixture.store.at(0).updatedAt, updatedAt);
        QCOMPARE(fixture.store.message(id, u"5"_qs), untouched); // the list was not copied
        QCOMPARE(fixture.clock.pending(), 0u);                   // and no save was started
    }

    void removing() {
        StoreFixture fixture(account);
        const QString a = fixture.store.create(u"a"_qs);
        fixture.store.create(u"b"_qs);
        fixture.takeSignals();
        fixture.store.remove(a);
        const QString time = QString::number(fixture.clock.nowMs(), 'f', 0);
        QCOMPARE(fixture.takeSignals(), u"removed 1 %1, edited, deleted %1@%2"_qs.arg(a, time));
        QVERIFY(!fixture.store.chat(a));
        QCOMPARE(fixture.titles(), u"b"_qs);
        const QString b = fixture.store.at(0).id;
        fixture.store.removeAll();
        QCOMPARE(fixture.takeSignals(), u"reset, edited, deleted %1@%2"_qs.arg(b, time));
        QCOMPARE(fixture.store.count(), 0);
        fixture.store.removeAll();
        QCOMPARE(fixture.takeSignals(), QString());
        fixture.store.flush();
        QCOMPARE(fixture.fileContent(), "[]");
    }

    /// What another device did is no change of the user's: it is saved, and nobody is asked to send it back.
    void quietChanges() {
        StoreFixture fixture(account);
        Chat chat;
        chat.title = u"x"_qs;
        for (const auto& [id, time] : {std::pair(u"a"_qs, 30.0), {u"b"_qs, 20.0}, {u"c"_qs, 25.0}}) {
            chat.id = id;
            chat.updatedAt = time;
            fixture.store.upsertQuiet(chat);
        }
        QCOMPARE(fixture.takeSignals(), u"reset, inserted 0, inserted 1, inserted 1"_qs);
        fixture.store.upsertQuiet(*fixture.store.chat(u"b"_qs)); // nothing new
        chat.id = u"a"_qs;
        chat.updatedAt = 22;
        chat.messages.append(ChatMessage());
        fixture.store.upsertQuiet(chat);
        QCOMPARE(*fixture.store.chat(u"a"_qs), chat);
        fixture.store.updateMessageQuiet(u"a"_qs, QString(), [](ChatMessage& message) {
            message.attachments.append({u"n"_qs, u"t"_qs, {}, u"file"_qs, false});
        });
        fixture.store.removeQuiet(u"b"_qs);
        fixture.store.removeQuiet(u"b"_qs);
        QCOMPARE(fixture.takeSignals(), u"moved 0 1, changed a, message a , removed 2 b"_qs);
        fixture.pass(600ms);
        const QList<Chat> stored = decodeChats(fixture.fileContent());
        QCOMPARE(stored, (QList<Chat>{fixture.store.at(0), fixture.store.at(1)}));
        QCOMPARE(stored.last().messages.first().attachments.first().fileId, u"file"_qs);
    }

    void stoppingPending() {
        StoreFixture fixture(account, R"([{"id":"b","title":"b","createdAt":1,"updatedAt":5,"messages":[]},)"
                                      R"({"id":"a","title":"a","createdAt":1,"updatedAt":5,"messages":[]}])");
        const QString a = u"a"_qs;
        for (const char* id : {"empty", "text", "media", "done"})
            addMessage(fixture.store, a, QLatin1String(id), {}, id != QByteArray("done"));
        const auto set = [&](const char* id, const std::function<void(ChatMessage&)>& change) {
            fixture.store.updateMessage(a, QLatin1String(id), Touch::No, Save::No, change);
        };
        set("text", [](ChatMessage& message) { message.content = u"Half"_qs; });
        set("media", [](ChatMessage& message) { message.media.emplace().status = u"pending"_qs; });
        fixture.takeSignals();

        fixture.store.stopPending();
        const auto message = [&](const char* id) { return *fixture.store.message(a, QLatin1String(id)); };
        for (const char* id : {"empty", "text", "media", "done"})
            QVERIFY(!message(id).pending);
        QCOMPARE(message("empty").error->code.value(), u"STOPPED"_qs);
        QCOMPARE(message("empty").error->message, u"Stopped before an answer came back."_qs);
        QVERIFY(!message("text").error && !message("media").error && !message("done").error);
        // It is newer than the other chat now and stands above it, as it will after the next start.
        QCOMPARE(fixture.takeSignals(), u"moved 1 0, edited, changed a"_qs);
        QCOMPARE(fixture.clock.pending(), 1u);
    }
};

QTEST_GUILESS_MAIN(TestChatStore)
#include "TestChatStore.moc"
