#include "Columns.h"
#include "SyncTest.h"

using namespace teskal::test;
using namespace std::chrono_literals;

namespace {

using Touch = ChatStore::Touch;
using Save = ChatStore::Save;

/// The service's list of chats.
QJsonObject listing(const QStringList& ids, bool enabled = true) {
    QJsonArray entries;
    for (const QString& id : ids)
        entries.append(QJsonObject{{u"id"_qs, id}, {u"updatedAt"_qs, 9}});
    return {{u"enabled"_qs, enabled}, {u"chats"_qs, entries}};
}

} // namespace

/// What one device exchanges with the service, and what failures and changes meanwhile do to it.
class TestChatSync final : public SyncTest {
    Q_OBJECT
private Q_SLOTS:
    void changesGoOutOnce() {
        const QString id = device().store().create(u"a"_qs);
        device().store().rename(id, u"b"_qs);
        settle(1499ms);
        QCOMPARE(takeRequests(), QString());
        settle(1ms);
        QCOMPARE(takeRequests(), u"GET, PUT "_qs + id);
        QCOMPARE(confirmed(id), device().store().chat(id)->updatedAt);
        const QDateTime written = QFileInfo(device().path(stateFile)).lastModified();
        pass();
        QCOMPARE(takeRequests(), u"GET"_qs);
        device().sync().flush();
        QCOMPARE(QFileInfo(device().path(stateFile)).lastModified(), written);
        QCOMPARE(device().pulls, 0);
    }

    void passWaitsForTheChatsOfThisMachine() {
        const QString kept = u"kept"_qs;
        const QString gone = u"gone"_qs;
        boot({chatOf(kept, begun), chatOf(gone, begun)});
        settle();
        device().quit();
        takeRequests();
        const QByteArray time = QByteArray::number(qint64(begun));
        put(stateFile, stateJson("\"kept\":" + time, "\"gone\":" + QByteArray::number(qint64(begun) + 1)));

        const QString folder = QFileInfo(device().path(u"x"_qs)).path();
        ChatStore store(folder, *clock_);
        ChatSync sync(folder, store, *clock_);
        store.claim(Device::account);
        sync.claim(Device::account, device().api());
        sync.sync();
        QVERIFY(!sync.isRunning());
        store.finishLoading();
        QVERIFY(sync.isRunning());
        QVERIFY(waitUntil([&] { return !sync.isRunning(); }));
        QCOMPARE(takeRequests(), u"GET, DELETE gone"_qs);
        QCOMPARE(store.count(), 1);
        QVERIFY(store.chat(kept));
    }

    void onlySyncableChatsTakePart() {
        boot({chatOf(u"abc"_qs, begun), chatOf(u"a.bc"_qs, begun), chatOf(QString(65, u'x'), begun),
              chatOf(u"a-_9"_qs, begun)});
        settle();
        QCOMPARE(takeRequests(), u"GET, PUT a-_9"_qs);
        device().store().removeAll();
        settle(2s);
        QCOMPARE(takeRequests(), u"GET, DELETE a-_9"_qs);

        next(chats, u"GET"_qs, {{u"json"_qs, listing({u"abc"_qs, u"../x"_qs})}});
        pass();
        QCOMPARE(takeRequests(), u"GET"_qs);
    }

    void requestsForAPassAreGathered() {
        device().sync().syncSoon(1500ms);
        clock_->advance(1s);
        device().sync().syncSoon(1500ms);
        settle(1499ms);
        QCOMPARE(takeRequests(), QString());
        settle(1ms);
        QCOMPARE(takeRequests(), u"GET"_qs);
        settle(30s - 2500ms); // since the account was claimed
        QCOMPARE(takeRequests(), u"GET"_qs);
        settle(30s);
        QCOMPARE(takeRequests(), u"GET"_qs);

        holdNext(u"GET"_qs);
        device().sync().sync();
        QVERIFY(control_.wait(chats, u"held"_qs));
        for (int i = 0; i < 5; ++i)
            device().sync().sync();
        control_.releaseAll();
        settle();
        QCOMPARE(takeRequests(), u"GET, GET"_qs);
    }

    void whatTheServiceListsIsCompared_data() {
        // before: the state; local: updatedAt of the chat here, 0 for none; remote: updatedAt at the
        // service; of its deletion when negative; after: updatedAt of the chat here, 0 for none
        const auto row = columns<QByteArray, double, double, QString, double, bool>(
            "before", "local", "remote", "requests", "after", "answering");
        const auto entry = [](double time) { return "\"chat\":" + QByteArray::number(time, 'f', 0); };
        const auto confirmed = [&](double time) { return stateJson(entry(time)); };
        const auto deletes = [&](double time) { return stateJson({}, entry(time)); };
        const auto sent = [&](double time) { return stateJson({}, {}, entry(time)); };
        const QByteArray none;
        const double t = begun - 1'000;
        row("new there", none, 0, t, "GET, GET chat", t);
        row("newer there", confirmed(t), t, t + 5, "GET, GET chat", t + 5);
        row("the same", confirmed(t), t, t, "GET", t);
        row("the same, never confirmed", none, t, t, "GET", t);
        row("newer here", confirmed(t), t + 5, t, "GET, PUT chat", t + 5);
        row("newer there while an answer arrives", confirmed(t), t, t + 5, "GET", t, true);
        row("deleted there", confirmed(t), t, -(t + 5), "GET", 0);
        row("deleted there, unknown here", none, 0, -t, "GET", 0);
        row("deleted there while an answer arrives", confirmed(t), t, -(t + 5), "GET", t, true);
        row("changed here after it was deleted there", confirmed(t), t + 5, -(t + 1), "GET, PUT chat", t + 5);
        row("deleted here at that time", deletes(t), 0, t, "GET, DELETE chat", 0);
        row("deleted here before", deletes(t), 0, t + 1, "GET, GET chat", t + 1);
        row("deletion delivered, same time", sent(t), 0, t, "GET", 0);
        row("deletion delivered, changed there later", sent(t), 0, t + 1, "GET, GET chat", t + 1);
    }
    void whatTheServiceListsIsCompared() {
        FETCH(QByteArray, before, double, local, double, remote, bool, answering);
        const QString id = u"chat"_qs;
        if (remote > 0)
            atService(chatOf(id, remote, u"remote"_qs));
        else
            deletedAtService(id, -remote);
        boot(local > 0 ? QList<Chat>{chatOf(id, local)} : QList<Chat>{}, before);
        if (answering)
            device().store().update(id, Touch::No, Save::No,
                                    [](Chat& chat) { chat.messages.last().pending = true; });
        settle();
        QTEST(takeRequests(), "requests");
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
        const auto status = [](int code) { return QJsonObject{{u"status"_qs, code}}; };
        const QJsonObject nonsense{{u"status"_qs, 200}, {u"body"_qs, u"{\"chat\":{\"id\":7}}"_qs}};
        row("push refused", "PUT", status(404), "chat first not synced: Request failed (404)", true);
        row("push too large", "PUT", status(413), "chat first not synced: Request failed (413)", true);
        row("push not understood", "PUT", nonsense, "chat first not synced: ", true);
        row("push unauthorized", "PUT", status(401), "history sync failed: Your session ended.", false);
        row("push too often", "PUT", status(429), "history sync failed: Request failed (429)", false);
        row("push broken", "PUT", status(500), "history sync failed: Request failed (500)", false);
        row("push lost", "PUT", QJsonObject{{u"drop"_qs, true}}, "history sync failed: ", false);
        row("pull refused", "GET", status(403), "chat there not synced: Request failed (403)", true);
        row("pull gone", "GET", status(404), "", true);
        row("pull not understood", "GET", nonsense, "chat there not synced: ", true);
        row("pull broken", "GET", status(502), "history sync failed: Request failed (502)", false);
        row("deletion refused", "DELETE", status(403), "chat gone not synced: Request failed (403)", true);
        row("deletion unauthorized", "DELETE", status(401), "history sync failed: ", false);
    }
    void failuresOfOneChat() {
        FETCH(QString, method, QString, log, bool, goesOn);
        QFETCH(QJsonObject, failure);
        atService(chatOf(u"there"_qs, begun));
        failure.insert(u"skip"_qs, method == u"GET" ? 1 : 0); // the list itself
        next(chats, method, failure);
        LogCapture lines;
        boot({chatOf(u"first"_qs, begun + 1), chatOf(u"second"_qs, begun)}, stateJson({}, "\"gone\":5"));
        settle();
        QCOMPARE(lines.lines().size(), log.isEmpty() ? 0 : 1);
        QVERIFY2(log.isEmpty() || lines.lines().first().startsWith(u"[Teskal] "_qs + log),
                 qPrintable(lines.lines().value(0)));
        QCOMPARE(takeRequests().contains(u"PUT second"_qs), goesOn);

        // What was refused is left alone until it changes; what failed is tried by the next pass.
        pass();
        const QString one = method == u"PUT"   ? u"PUT first"_qs
                            : method == u"GET" ? u"GET there"_qs
                                               : u"DELETE gone"_qs;
        const bool isRefused = log.startsWith(u"chat");
        QCOMPARE(takeRequests().contains(one), !isRefused);
        if (isRefused && method == u"PUT") {
            device().store().rename(u"first"_qs, u"another"_qs);
            pass();
            QVERIFY(takeRequests().contains(one));
        }
    }

    void unavailableHistoryRestsUntilANewSignIn_data() {
        const auto row = columns<QString, QString, QJsonObject>("path", "method", "reply");
        const QJsonObject unavailable{{u"status"_qs, 503}};
        row("503 on the list", chats, "GET", unavailable);
        row("503 on a push", chats, "PUT", unavailable);
        row("503 on a deletion", chats, "DELETE", unavailable);
        row("503 on an upload", files, "POST", unavailable);
        row("not enabled", chats, "GET", QJsonObject{{u"json"_qs, listing({}, false)}});
    }
    void unavailableHistoryRestsUntilANewSignIn() {
        FETCH(QString, path, QString, method, QJsonObject, reply);
        next(path, method, reply);
        Chat chat = chatOf(u"first"_qs, begun);
        chat.messages.first().attachments.append(fileOf(u"image/png"_qs));
        LogCapture log;
        boot({chat}, stateJson({}, "\"gone\":5"));
        settle();
        QVERIFY(!takeRequests().isEmpty());
        clock_->advance(1h);
        device().sync().syncSoon(0ms);
        pass();
        QCOMPARE(takeRequests(), QString());
        QCOMPARE(log.lines(), QStringList());
        device().sync().resume();
        pass();
        QCOMPARE(takeRequests().section(u',', 0, 0), u"GET"_qs);
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
        const auto row = columns<QString, QString>("held", "meanwhile");
        for (const QByteArray held : {"GET", "PUT", "PUT newer", "PUT deleted"})
            for (const QByteArray meanwhile : {"edit", "delete", "answer"})
                row((held + ", " + meanwhile).constData(), held.constData(), meanwhile.constData());
    }
    void changesDuringACallWin() {
        FETCH(QString, held, QString, meanwhile);
        const QString id = u"chat"_qs;
        const QString method = held.left(3);
        if (method == u"GET")
            atService(chatOf(id, begun - 10, u"remote"_qs));
        QJsonObject reply;
        if (held == u"PUT newer")
            reply.insert(u"chat"_qs, QJsonObject{{u"id"_qs, id}, {u"updatedAt"_qs, begun - 5}});
        if (held == u"PUT deleted")
            reply.insert(u"deleted"_qs, true);
        if (!reply.isEmpty())
            next(chats, method, {{u"json"_qs, reply}});
        const int first = holdNext(method);
        boot({chatOf(id, begun - 20)});
        clock_->advance(0ms);
        QVERIFY(control_.wait(chats, u"held"_qs));
        if (method == u"GET") { // that was the list; it goes on, and the chat is held
            const auto listed = int(control_.requests(chats).size());
            holdNext(method);
            control_.post(u"release"_qs, QJsonObject{{u"id"_qs, first}});
            QVERIFY(control_.wait(chats, u"received"_qs, listed + 1));
        }
        ChatStore& store = device().store();
        clock_->advance(1ms);
        if (meanwhile == u"edit")
            store.rename(id, u"edited"_qs);
        else if (meanwhile == u"delete")
            store.remove(id);
        else
            store.update(id, Touch::No, Save::No, [](Chat& chat) { chat.messages.last().pending = true; });
        const std::optional<Chat> after = store.chat(id) ? std::optional(*store.chat(id)) : std::nullopt;
        control_.releaseAll();
        settle();
        const Chat* now = store.chat(id);
        QCOMPARE(now ? std::optional(*now) : std::nullopt, after);
        // Only the push that follows a pull in the same pass confirms, and what it confirms is the edit.
        const bool isPushed = held == u"GET" && meanwhile == u"edit";
        QCOMPARE(confirmed(id), isPushed ? after->updatedAt : 0);

        if (meanwhile == u"answer")
            store.update(id, Touch::Yes, Save::Yes, [](Chat& chat) { chat.messages.last().pending = false; });
        pass();
        const auto there = device().fetched(id);
        QCOMPARE(there, store.chat(id) ? std::optional(wireChat(*store.chat(id))) : std::nullopt);
        QCOMPARE(there.has_value(), meanwhile != u"delete");
    }

    void newerCopyOfTheServiceIsTaken() {
        const QString id = u"chat"_qs;
        Chat chat = chatOf(id, begun - 20);
        const QString picture = u"data:image/png;base64,AAAA"_qs;
        chat.messages.first().attachments.append({u"n"_qs, u"image/png"_qs, picture, u"file1"_qs, false});
        Chat newer = chat;
        newer.updatedAt = begun - 10;
        newer.title = u"newer"_qs;
        atService(newer);
        // The list was made before the other device's change.
        next(chats, u"GET"_qs, {{u"json"_qs, listing({})}});
        boot({chat});
        settle();
        QCOMPARE(takeRequests(), u"GET, PUT chat"_qs);
        QCOMPARE(*device().store().chat(id), newer); // what only this machine has is kept
        QCOMPARE(confirmed(id), newer.updatedAt);
        QCOMPARE(device().pulls, 1);
    }
};

QTEST_GUILESS_MAIN(TestChatSync)
#include "TestChatSync.moc"
