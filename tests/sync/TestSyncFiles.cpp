#include "Columns.h"
#include "SyncTest.h"

#include <QDir>

using namespace teskal;
using namespace teskal::test;
using namespace std::chrono_literals;

/// Deletions, files inside chats, and the file in which all of it is remembered.
class TestSyncFiles final : public SyncTest {
    Q_OBJECT
private Q_SLOTS:
    void init() { begin(); }
    void cleanup() { end(); }

    void deletionsAreDelivered_data() {
        const auto row = columns<int>("status");
        row("done", 200);
        row("unknown there", 404);
        row("gone already", 410);
    }
    void deletionsAreDelivered() {
        QFETCH(const int, status);
        // The second chat was changed by a device whose clock is ahead.
        boot({chatOf(QStringLiteral("early"), begun - 5),
              chatOf(QStringLiteral("late"), clock_->nowMs() + 5'000)});
        settle();
        takeRequests();
        for (int i = 0; i < 2; ++i)
            control_.next({{QStringLiteral("path"), chats},
                           {QStringLiteral("method"), QStringLiteral("DELETE")},
                           {QStringLiteral("status"), status}});
        const double now = clock_->nowMs();
        device().store().removeAll();
        const QJsonObject expected{{QStringLiteral("early"), now}, {QStringLiteral("late"), now + 5'001}};
        QCOMPARE(state("deletes"), expected); // before anything was sent
        QCOMPARE(state("confirmed"), QJsonObject());
        clock_->advance(1500ms);
        settle();
        QCOMPARE(takeRequests().size(), 3);
        QCOMPARE(state("deletes"), QJsonObject());
        QCOMPARE(state("sentDeletes"), expected);
        const QJsonObject query =
            control_.requests(chats).last().toObject().value(QLatin1String("query")).toObject();
        QCOMPARE(query.value(QLatin1String("at")).toString().toDouble(),
                 expected.value(query.value(QLatin1String("id")).toString()).toDouble());
    }

    void oldDeletionsAreForgotten() {
        const double day = 24.0 * 60 * 60 * 1000;
        const auto text = [&](double days) {
            return QByteArray::number(clock_->nowMs() - days * day, 'f', 0);
        };
        boot({}, stateJson({}, {}, "\"old1\":" + text(31) + ",\"new1\":" + text(29.9)));
        settle();
        QCOMPARE(state("sentDeletes").keys(), QStringList{QStringLiteral("new1")});
    }

    void filesGoOutOnce() {
        const auto with = [](const QString& id, const QString& type, const QString& data) {
            Chat chat = chatOf(id, begun);
            chat.messages.first().attachments.append(fileOf(type, data));
            return chat;
        };
        const QString png = QStringLiteral("image/png");
        Chat both = with(QStringLiteral("chat2"), png, QStringLiteral("AAAA"));
        both.messages.append(both.messages.first());
        both.messages.last().id = QStringLiteral("m2");
        both.messages.last().media.emplace().type = QStringLiteral("image");
        both.messages.last().media->url = QStringLiteral("data:image/webp;base64,AAAA");
        boot({with(QStringLiteral("chat1"), png, QStringLiteral("AAAA")), both,
              with(QStringLiteral("chat3"), QStringLiteral("video/mp4"), QStringLiteral("AAAA")),
              with(QStringLiteral("chat4"), png, QStringLiteral("not base64!"))});
        settle();
        QCOMPARE(takeRequests().filter(files).size(), 2);
        QCOMPARE(device().uploads.size(), 2);
        const auto attachment = [this](const char* chat, const char* message) {
            return device().store().message(QLatin1String(chat), QLatin1String(message))->attachments.first();
        };
        const QString fileId = attachment("chat1", "m").fileId.value();
        QCOMPARE(device().uploads.first(), fileId + QStringLiteral(" image/png 3"));
        QVERIFY(attachment("chat1", "m").dataUrl); // still shown from here
        QCOMPARE(attachment("chat2", "m").fileId, fileId);
        QCOMPARE(attachment("chat2", "m2").fileId, fileId);
        QCOMPARE(
            device().uploads.last(),
            device().store().message(QStringLiteral("chat2"), QStringLiteral("m2"))->media->fileId.value() +
                QStringLiteral(" image/webp 3"));
        QVERIFY(!attachment("chat3", "m").fileId && !attachment("chat4", "m").fileId);
        // A version that went out without the file is another one.
        QCOMPARE(device().store().chat(QStringLiteral("chat1"))->updatedAt, begun + 1);

        device().store().upsertQuiet(with(QStringLiteral("chat5"), png, QStringLiteral("AAAA")));
        pass();
        QCOMPARE(takeRequests(), (QStringList{QStringLiteral("GET"), QStringLiteral("PUT chat5")}));
        QCOMPARE(attachment("chat5", "m").fileId, fileId);
        device().quit(); // the identifiers are on disk
        QCOMPARE(stored(QStringLiteral("account1.json")).count("\"fileId\":\"" + fileId.toLatin1() + '"'), 4);
    }

    void failedUploadIsTriedWithTheNextChange() {
        control_.next({{QStringLiteral("path"), files}, {QStringLiteral("status"), 500}});
        Chat chat = chatOf(QStringLiteral("chat"), begun);
        chat.messages.first().attachments.append(fileOf(QStringLiteral("application/pdf")));
        boot({chat});
        settle();
        QCOMPARE(takeRequests(), (QStringList{QStringLiteral("GET"), QStringLiteral("POST /api/files"),
                                              QStringLiteral("PUT chat")}));
        pass();
        QCOMPARE(takeRequests(), QStringList{QStringLiteral("GET")});
        device().store().rename(chat.id, QStringLiteral("changed"));
        pass();
        QCOMPARE(takeRequests(), (QStringList{QStringLiteral("GET"), QStringLiteral("POST /api/files"),
                                              QStringLiteral("PUT chat")}));
        const TeskalAPI api = device().api();
        const auto there = waitFor([&](std::stop_token stop) { return api.getChat(chat.id, stop); });
        QVERIFY(there->messages->first().attachments.first().fileId);
    }

    void stateThatTheChatsDoNotBearOutIsDropped() {
        device().isOffline = true;
        boot({chatOf(QStringLiteral("old1"), 10), chatOf(QStringLiteral("good"), 10),
              chatOf(QStringLiteral("del1"), 30), chatOf(QStringLiteral("del2"), 40),
              chatOf(QStringLiteral("back"), 51)},
             stateJson("\"old1\":20,\"gone\":5,\"good\":10", "\"del1\":30", "\"del2\":40,\"back\":50"));
        const LogCapture log;
        settle();
        QCOMPARE(state("confirmed").keys(), QStringList{QStringLiteral("good")});
        QStringList left;
        for (int row = 0; row < device().store().count(); ++row)
            left.append(device().store().at(row).id);
        left.sort();
        QCOMPARE(left, (QStringList{QStringLiteral("back"), QStringLiteral("good"), QStringLiteral("old1")}));
    }

    void damagedStateIsKept() {
        const LogCapture log;
        boot({chatOf(QStringLiteral("chat"), begun)}, "{\"confirmed\":{},\"deletes\":{}}");
        settle();
        device().quit();
        const QDir folder(device().path(QString()));
        const QStringList kept = folder.entryList({QStringLiteral("account1.sync.json.damaged-*")});
        QCOMPARE(kept.size(), 1);
        QCOMPARE(stored(kept.first()), "{\"confirmed\":{},\"deletes\":{}}");
        QCOMPARE(log.lines().size(), 1);
        QCOMPARE(stored(QStringLiteral("account1.sync.json")),
                 stateJson("\"chat\":" + QByteArray::number(begun, 'f', 0)));
    }

    void failedSaveOfTheStateIsTriedAgain() {
        const QString path = device().path(QStringLiteral("account1.sync.json"));
        QVERIFY(QDir().mkpath(path + QStringLiteral("/in the way")));
        device().store().upsertQuiet(chatOf(QStringLiteral("chat"), begun));
        LogCapture log;
        pass();
        QVERIFY(waitUntil([&] { return !log.lines().isEmpty(); }));
        QVERIFY2(log.lines().first().startsWith(QLatin1String("[Teskal] could not save sync state: ")),
                 qPrintable(log.lines().first()));
        QVERIFY(QDir(path).removeRecursively());
        pass(); // finds nothing new, and what it knows is not on disk yet
        device().sync().flush();
        QCOMPARE(stored(QStringLiteral("account1.sync.json")),
                 stateJson("\"chat\":" + QByteArray::number(begun, 'f', 0)));
    }
};

QTEST_GUILESS_MAIN(TestSyncFiles)
#include "TestSyncFiles.moc"
