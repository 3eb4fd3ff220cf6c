#include "Columns.h"
#include "SyncTest.h"

#include "WireConversion.h"

#include <QFileInfo>

using namespace teskal;
using namespace teskal::test;
using namespace std::chrono_literals;

namespace {

using Touch = ChatStore::Touch;
using Save = ChatStore::Save;

} // namespace

/// What one device exchanges with the service, and what failures and changes meanwhile do to it.
class TestChatSync final : public SyncTest {
    Q_OBJECT
private Q_SLOTS:
    void init() { begin(); }
    void cleanup() { end(); }

    void changesGoOutOnce() {
        const QString id = device().store().create(QStringLiteral("a"));
        device().store().rename(id, QStringLiteral("b"));
        clock_->advance(1499ms);
        settle();
        QCOMPARE(takeRequests(), QStringList());
        clock_->advance(1ms);
        settle();
        QCOMPARE(takeRequests(), (QStringList{QStringLiteral("GET"), QStringLiteral("PUT ") + id}));
        QCOMPARE(confirmed(id), device().store().chat(id)->updatedAt);
        const QDateTime written =
            QFileInfo(device().path(QStringLiteral("account1.sync.json"))).lastModified();
        pass();
        QCOMPARE(takeRequests(), QStringList{QStringLiteral("GET")});
        device().sync().flush();
        QCOMPARE(QFileInfo(device().path(QStringLiteral("account1.sync.json"))).lastModified(), written);
        QCOMPARE(device().pulls, 0);
    }

    void passWaitsForTheChatsOfThisMachine() {
        const QString kept = QStringLiteral("kept");
        const QString gone = QStringLiteral("gone");
        boot({chatOf(kept, begun), chatOf(gone, begun)});
        settle();
        device().quit();
        takeRequests();
        const QByteArray time = QByteArray::number(qint64(begun));
        put(QStringLiteral("account1.sync.json"),
            stateJson("\"kept\":" + time, "\"gone\":" + QByteArray::number(qint64(begun) + 1)));

        const QString folder = QFileInfo(device().path(QStringLiteral("x"))).path();
        ChatStore store(folder, *clock_);
        ChatSync sync(folder, store, *clock_);
        store.claim(Device::account);
        sync.claim(Device::account, device().api());
        sync.sync();
        QVERIFY(!sync.isRunning());
        store.finishLoading();
        QVERIFY(sync.isRunning());
        QVERIFY(waitUntil([&] { return !sync.isRunning(); }));
        QCOMPARE(takeRequests(), (QStringList{QStringLiteral("GET"), QStringLiteral("DELETE gone")}));
        QCOMPARE(store.count(), 1);
        QVERIFY(store.chat(kept));
    }

    void onlySyncableChatsTakePart() {
        boot({chatOf(QStringLiteral("abc"), begun), chatOf(QStringLiteral("a.bc"), begun),
              chatOf(QString(65, QLatin1Char('x')), begun), chatOf(QStringLiteral("a-_9"), begun)});
        settle();
        QCOMPARE(takeRequests(), (QStringList{QStringLiteral("GET"), QStringLiteral("PUT a-_9")}));
        device().store().removeAll();
        clock_->advance(2s);
        settle();
        QCOMPARE(takeRequests(), (QStringList{QStringLiteral("GET"), QStringLiteral("DELETE a-_9")}));

        control_.next(
            {{QStringLiteral("path"), chats},
             {QStringLiteral("json"),
              QJsonDocument::fromJson(
                  R"({"enabled":true,"chats":[{"id":"abc","updatedAt":9},{"id":"../x","updatedAt":9}]})")
                  .object()}});
        pass();
        QCOMPARE(takeRequests(), QStringList{QStringLiteral("GET")});
    }

    void requestsForAPassAreGathered() {
        device().sync().syncSoon(1500ms);
        clock_->advance(1s);
        device().sync().syncSoon(1500ms);
        clock_->advance(1499ms);
        settle();
        QCOMPARE(takeRequests().size(), 0);
        clock_->advance(1ms);
        settle();
        QCOMPARE(takeRequests().size(), 1);
        clock_->advance(30s - 2500ms); // since the account was claimed
        settle();
        QCOMPARE(takeRequests().size(), 1);
        clock_->advance(30s);
        settle();
        QCOMPARE(takeRequests().size(), 1);

        holdNext(QStringLiteral("GET"));
        device().sync().sync();
        QVERIFY(control_.wait(chats, QStringLiteral("held")));
        for (int i = 0; i < 5; ++i)
            device().sync().sync();
        control_.releaseAll();
        settle();
        QCOMPARE(takeRequests().size(), 2);
    }

    void whatTheServiceListsIsCompared_data() {
        // before: the state; local: updatedAt of the chat here, 0 for none; remote: updatedAt at the
        // service; of its deletion when negative; after: updatedAt of the chat here, 0 for none
        columns<QByteArray, double, bool, double, QString, double>("before", "local", "answering", "remote",
                                                                   "requests", "after");
        const auto row = [](const char* name, const QByteArray& before, double local, double remote,
                            const char* requests, double after, bool answering = false) {
            QTest::newRow(name) << before << local << answering << remote << QString::fromLatin1(requests)
                                << after;
        };
        const auto confirmed = [](double time) {
            return stateJson("\"chat\":" + QByteArray::number(time, 'f', 0));
        };
        const auto deletes = [](double time) {
            return stateJson({}, "\"chat\":" + QByteArray::number(time, 'f', 0));
        };
        const auto sent = [](double time) {
            return stateJson({}, {}, "\"chat\":" + QByteArray::number(time, 'f', 0));
        };
        const double t = begun - 1'000;
        row("new there", {}, 0, t, "GET,GET chat", t);
        row("newer there", confirmed(t), t, t + 5, "GET,GET chat", t + 5);
        row("the same", confirmed(t), t, t, "GET", t);
        row("the same, never confirmed", {}, t, t, "GET", t);
        row("newer here", confirmed(t), t + 5, t, "GET,PUT chat", t + 5);
        row("newer there while an answer arrives", confirmed(t), t, t + 5, "GET", t, true);
        row("deleted there", confirmed(t), t, -(t + 5), "GET", 0);
        row("deleted there, unknown here", {}, 0, -t, "GET", 0);
        row("deleted there while an answer arrives", confirmed(t), t, -(t + 5), "GET", t, true);
        row("changed here after it was deleted there", confirmed(t), t + 5, -(t + 1), "GET,PUT chat", t + 5);
        row("deleted here at that time", deletes(t), 0, t, "GET,DELETE chat", 0);
        row("deleted here before", deletes(t), 0, t + 1, "GET,GET chat", t + 1);
        row("deletion delivered, same time", sent(t), 0, t, "GET", 0);
        row("deletion delivered, changed there later", sent(t), 0, t + 1, "GET,GET chat", t + 1);
    }
    void whatTheServiceListsIsCompared() {
        QFETCH(const QByteArray, before);
        QFETCH(const double, local);
        QFETCH(const bool, answering);
        QFETCH(const double, remote);
        QFETCH(const QString, requests);
        const QString id = QStringLiteral("chat");
        if (remote > 0)
            atService(chatOf(id, remote, QStringLiteral("remote")));
        else
            deletedAtService(id, -remote);
        boot(local > 0 ? QList<Chat>{chatOf(id, local)} : QList<Chat>{}, before);
        if (answering)
            device().store().update(id, Touch::No, Save::No,
                                    [](Chat& chat) { chat.messages.last().pending = true; });
        settle();
        QCOMPARE(takeRequests().join(QLatin1Char(',')), requests);
        const Chat* chat = device().store().chat(id);
        QTEST(chat ? chat->updatedAt : 0, "after");
        if (chat && !answering)
            QCOMPARE(confirmed(id), chat->updatedAt);
        if (chat && remote > 0)
            QVERIFY(!state("deletes").contains(id) && !state("sentDeletes").contains(id));
        QCOMPARE(device().pulls, local != (chat ? chat->updatedAt : 0) ? 1 : 0);
    }

    void failuresOfOneChat_data() {
        // log: how the line begins
        const auto row = columns<QString, QJsonObject, QString, bool>("method", "failure", "log", "goesOn");
        const auto status = [](int code) { return QJsonObject{{QStringLiteral("status"), code}}; };
        const QJsonObject nonsense{{QStringLiteral("status"), 200},
                                   {QStringLiteral("body"), QStringLiteral("{\"chat\":{\"id\":7}}")}};
        row("push refused", "PUT", status(404), "chat first not synced: Request failed (404)", true);
        row("push too large", "PUT", status(413), "chat first not synced: Request failed (413)", true);
        row("push not understood", "PUT", nonsense, "chat first not synced: ", true);
        row("push unauthorized", "PUT", status(401), "history sync failed: Your session ended.", false);
        row("push too often", "PUT", status(429), "history sync failed: Request failed (429)", false);
        row("push broken", "PUT", status(500), "history sync failed: Request failed (500)", false);
        row("push lost", "PUT", QJsonObject{{QStringLiteral("drop"), true}}, "history sync failed: ", false);
        row("pull refused", "GET", status(403), "chat there not synced: Request failed (403)", true);
        row("pull gone", "GET", status(404), "", true);
        row("pull not understood", "GET", nonsense, "chat there not synced: ", true);
        row("pull broken", "GET", status(502), "history sync failed: Request failed (502)", false);
        row("deletion refused", "DELETE", status(403), "chat gone not synced: Request failed (403)", true);
        row("deletion unauthorized", "DELETE", status(401), "history sync failed: ", false);
    }
    void failuresOfOneChat() {
        QFETCH(const QString, method);
        QFETCH(QJsonObject, failure);
        QFETCH(const QString, log);
        QFETCH(const bool, goesOn);
        atService(chatOf(QStringLiteral("there"), begun));
        failure.insert(QStringLiteral("path"), chats);
        failure.insert(QStringLiteral("method"), method);
        failure.insert(QStringLiteral("skip"), method == QLatin1String("GET") ? 1 : 0); // the list itself
        control_.next(failure);
        LogCapture lines;
        boot({chatOf(QStringLiteral("first"), begun + 1), chatOf(QStringLiteral("second"), begun)},
             stateJson({}, "\"gone\":5"));
        settle();
        QCOMPARE(lines.lines().size(), log.isEmpty() ? 0 : 1);
        QVERIFY2(log.isEmpty() || lines.lines().first().startsWith(QStringLiteral("[Teskal] ") + log),
                 qPrintable(lines.lines().value(0)));
        QCOMPARE(takeRequests().contains(QStringLiteral("PUT second")), goesOn);

        // What was refused is left alone until it changes; what failed is tried by the next pass.
        pass();
        const QString one = method == QLatin1String("PUT")   ? QStringLiteral("PUT first")
                            : method == QLatin1String("GET") ? QStringLiteral("GET there")
                                                             : QStringLiteral("DELETE gone");
        const bool isRefused = log.startsWith(QLatin1String("chat"));
        QCOMPARE(takeRequests().contains(one), !isRefused);
        if (isRefused && method == QLatin1String("PUT")) {
            device().store().rename(QStringLiteral("first"), QStringLiteral("another"));
            pass();
            QVERIFY(takeRequests().contains(one));
        }
    }

    void unavailableHistoryRestsUntilANewSignIn_data() {
        const auto row = columns<QJsonObject>("reply");
        const QJsonObject unavailable{{QStringLiteral("status"), 503}};
        const auto with = [](QJsonObject reply, const QString& path, const QString& method) {
            reply.insert(QStringLiteral("path"), path);
            reply.insert(QStringLiteral("method"), method);
            return reply;
        };
        row("503 on the list", with(unavailable, chats, QStringLiteral("GET")));
        row("503 on a push", with(unavailable, chats, QStringLiteral("PUT")));
        row("503 on a deletion", with(unavailable, chats, QStringLiteral("DELETE")));
        row("503 on an upload", with(unavailable, files, QStringLiteral("POST")));
        const QJsonObject disabled{
            {QStringLiteral("json"),
             QJsonObject{{QStringLiteral("enabled"), false}, {QStringLiteral("chats"), QJsonArray()}}}};
        row("not enabled", with(disabled, chats, QStringLiteral("GET")));
    }
    void unavailableHistoryRestsUntilANewSignIn() {
        QFETCH(const QJsonObject, reply);
        control_.next(reply);
        Chat chat = chatOf(QStringLiteral("first"), begun);
        chat.messages.first().attachments.append(fileOf(QStringLiteral("image/png")));
        LogCapture log;
        boot({chat}, stateJson({}, "\"gone\":5"));
        settle();
        QVERIFY(!takeRequests().isEmpty());
        clock_->advance(1h);
        device().sync().syncSoon(0ms);
        pass();
        QCOMPARE(takeRequests(), QStringList());
        QCOMPARE(log.lines(), QStringList());
        device().sync().resume();
        pass();
        QVERIFY(takeRequests().contains(QStringLiteral("GET")));
    }

    void failureThatLastsIsToldOnce() {
        LogCapture log;
        device().isOffline = true;
        boot();
        settle();
        pass();
        QCOMPARE(log.lines().size(), 1);
        device().isOffline = false;
        pass();
        device().isOffline = true;
        pass();
        QCOMPARE(log.lines().size(), 2);
    }

    void changesDuringACallWin_data() {
        columns<QString, QString>("held", "meanwhile");
        for (const char* held : {"GET", "PUT", "PUT newer", "PUT deleted"})
            for (const char* meanwhile : {"edit", "delete", "answer"})
                QTest::addRow("%s, %s", held, meanwhile)
                    << QString::fromLatin1(held) << QString::fromLatin1(meanwhile);
    }
    void changesDuringACallWin() {
        QFETCH(const QString, held);
        QFETCH(const QString, meanwhile);
        const QString id = QStringLiteral("chat");
        const QString method = held.left(3);
        if (method == QLatin1String("GET"))
            atService(chatOf(id, begun - 10, QStringLiteral("remote")));
        QJsonObject reply;
        if (held == QLatin1String("PUT newer"))
            reply.insert(QStringLiteral("chat"),
                         QJsonObject{{QStringLiteral("id"), id}, {QStringLiteral("updatedAt"), begun - 5}});
        if (held == QLatin1String("PUT deleted"))
            reply.insert(QStringLiteral("deleted"), true);
        if (!reply.isEmpty())
            control_.next({{QStringLiteral("path"), chats},
                           {QStringLiteral("method"), method},
                           {QStringLiteral("json"), reply}});
        const int first = holdNext(method);
        boot({chatOf(id, begun - 20)});
        clock_->advance(0ms);
        QVERIFY(control_.wait(chats, QStringLiteral("held")));
        if (method == QLatin1String("GET")) { // that was the list; it goes on, and the chat is held
            const auto listed = int(control_.requests(chats).size());
            holdNext(method);
            control_.post(QStringLiteral("release"), QJsonObject{{QStringLiteral("id"), first}});
            QVERIFY(control_.wait(chats, QStringLiteral("received"), listed + 1));
        }
        ChatStore& store = device().store();
        clock_->advance(1ms);
        if (meanwhile == QLatin1String("edit"))
            store.rename(id, QStringLiteral("edited"));
        else if (meanwhile == QLatin1String("delete"))
            store.remove(id);
        else
            store.update(id, Touch::No, Save::No, [](Chat& chat) { chat.messages.last().pending = true; });
        const std::optional<Chat> after = store.chat(id) ? std::optional(*store.chat(id)) : std::nullopt;
        control_.releaseAll();
        settle();
        const Chat* now = store.chat(id);
        QCOMPARE(now ? std::optional(*now) : std::nullopt, after);
        // Only the push that follows a pull in the same pass confirms, and what it confirms is the edit.
        const bool isPushed = held == QLatin1String("GET") && meanwhile == QLatin1String("edit");
        QCOMPARE(confirmed(id), isPushed ? after->updatedAt : 0);

        if (meanwhile == QLatin1String("answer"))
            store.update(id, Touch::Yes, Save::Yes, [](Chat& chat) { chat.messages.last().pending = false; });
        pass();
        const TeskalAPI api = device().api();
        const auto there = waitFor([&](std::stop_token stop) { return api.getChat(id, stop); });
        QCOMPARE(there, store.chat(id) ? std::optional(wireChat(*store.chat(id))) : std::nullopt);
        QCOMPARE(there.has_value(), meanwhile != QLatin1String("delete"));
    }

    void newerCopyOfTheServiceIsTaken() {
        const QString id = QStringLiteral("chat");
        Chat chat = chatOf(id, begun - 20);
        const QString picture = QStringLiteral("data:image/png;base64,AAAA");
        chat.messages.first().attachments.append(
            {QStringLiteral("n"), QStringLiteral("image/png"), picture, QStringLiteral("file1"), false});
        Chat newer = chat;
        newer.updatedAt = begun - 10;
        newer.title = QStringLiteral("newer");
        atService(newer);
        // The list was made before the other device's change.
        control_.next({{QStringLiteral("path"), chats},
                       {QStringLiteral("json"), QJsonObject{{QStringLiteral("enabled"), true},
                                                            {QStringLiteral("chats"), QJsonArray()}}}});
        boot({chat});
        settle();
        QCOMPARE(takeRequests(), (QStringList{QStringLiteral("GET"), QStringLiteral("PUT chat")}));
        QCOMPARE(*device().store().chat(id), newer); // what only this machine has is kept
        QCOMPARE(confirmed(id), newer.updatedAt);
        QCOMPARE(device().pulls, 1);
    }
};

QTEST_GUILESS_MAIN(TestChatSync)
#include "TestChatSync.moc"
