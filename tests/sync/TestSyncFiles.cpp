#include "Columns.h"
#include "SyncTest.h"

using namespace teskal::test;
using namespace std::chrono_literals;

/// Deletions, files inside chats, and the file in which all of it is remembered.
class TestSyncFiles final : public SyncTest {
    Q_OBJECT
private Q_SLOTS:
    void deletionsAreDelivered_data() {
        rows<int>("status", {{"done", 200}, {"unknown there", 404}, {"gone already", 410}});
    }
    void deletionsAreDelivered() {
        QFETCH(const int, status);
        // The second chat was changed by a device whose clock is ahead.
        boot({chatOf(u"early"_qs, begun - 5), chatOf(u"late"_qs, clock_->nowMs() + 5'000)});
        settle();
        takeRequests();
        for (int i = 0; i < 2; ++i)
            next(chats, u"DELETE"_qs, {{u"status"_qs, status}});
        const double now = clock_->nowMs();
        device().store().removeAll();
        const QJsonObject expected{{u"early"_qs, now}, {u"late"_qs, now + 5'001}};
        QCOMPARE(state("deletes"), expected); // before anything was sent
        QCOMPARE(state("confirmed"), QJsonObject());
        settle(1500ms);
        QCOMPARE(takeRequests().split(u", "_qs).size(), 3);
        QCOMPARE(state("deletes"), QJsonObject());
        QCOMPARE(state("sentDeletes"), expected);
        const QJsonObject query = control_.requests(chats).last().toObject().value(u"query").toObject();
        QCOMPARE(query.value(u"at").toString().toDouble(),
                 expected.value(query.value(u"id").toString()).toDouble());
    }

    void oldDeletionsAreForgotten() {
        const double day = 24.0 * 60 * 60 * 1000;
        const auto text = [&](double days) {
            return QByteArray::number(clock_->nowMs() - days * day, 'f', 0);
        };
        boot({}, stateJson({}, {}, "\"old1\":" + text(31) + ",\"new1\":" + text(29.9)));
        settle();
        QCOMPARE(state("sentDeletes").keys(), QStringList{u"new1"_qs});
    }

    void filesGoOutOnce() {
        const auto with = [](const QString& id, const QString& type, const QString& data) {
            Chat chat = chatOf(id, begun);
            chat.messages.first().attachments.append(fileOf(type, data));
            return chat;
        };
        const QString png = u"image/png"_qs;
        Chat both = with(u"chat2"_qs, png, u"AAAA"_qs);
        both.messages.append(both.messages.first());
        both.messages.last().id = u"m2"_qs;
        both.messages.last().media.emplace().type = u"image"_qs;
        both.messages.last().media->url = u"data:image/webp;base64,AAAA"_qs;
        boot({with(u"chat1"_qs, png, u"AAAA"_qs), both, with(u"chat3"_qs, u"video/mp4"_qs, u"AAAA"_qs),
              with(u"chat4"_qs, png, u"not base64!"_qs)});
        settle();
        QCOMPARE(takeRequests().count(files), 2);
        QCOMPARE(device().uploads.size(), 2);
        const auto attachment = [this](const char* chat, const char* message) {
            return device().store().message(QLatin1String(chat), QLatin1String(message))->attachments.first();
        };
        const QString fileId = attachment("chat1", "m").fileId.value();
        QCOMPARE(device().uploads.first(), fileId + u" image/png 3"_qs);
        QVERIFY(attachment("chat1", "m").dataUrl); // still shown from here
        QCOMPARE(attachment("chat2", "m").fileId, fileId);
        QCOMPARE(attachment("chat2", "m2").fileId, fileId);
        QCOMPARE(device().uploads.last(),
                 device().store().message(u"chat2"_qs, u"m2"_qs)->media->fileId.value() +
                     u" image/webp 3"_qs);
        QVERIFY(!attachment("chat3", "m").fileId && !attachment("chat4", "m").fileId);
        // A version that went out without the file is another one.
        QCOMPARE(device().store().chat(u"chat1"_qs)->updatedAt, begun + 1);

        device().store().upsertQuiet(with(u"chat5"_qs, png, u"AAAA"_qs));
        pass();
        QCOMPARE(takeRequests(), u"GET, PUT chat5"_qs);
        QCOMPARE(attachment("chat5", "m").fileId, fileId);
        device().quit(); // the identifiers are on disk
        QCOMPARE(stored(u"account1.json"_qs).count("\"fileId\":\"" + fileId.toLatin1() + '"'), 4);
    }

    void failedUploadIsTriedWithTheNextChange() {
        next(files, u"POST"_qs, {{u"status"_qs, 500}});
        Chat chat = chatOf(u"chat"_qs, begun);
        chat.messages.first().attachments.append(fileOf(u"application/pdf"_qs));
        boot({chat});
        settle();
        QCOMPARE(takeRequests(), u"GET, POST /api/files, PUT chat"_qs);
        pass();
        QCOMPARE(takeRequests(), u"GET"_qs);
        device().store().rename(chat.id, u"changed"_qs);
        pass();
        QCOMPARE(takeRequests(), u"GET, POST /api/files, PUT chat"_qs);
        QVERIFY(device().fetched(chat.id)->messages->first().attachments.first().fileId);
    }

    void stateThatTheChatsDoNotBearOutIsDropped() {
        device().isOffline = true;
        boot({chatOf(u"old1"_qs, 10), chatOf(u"good"_qs, 10), chatOf(u"del1"_qs, 30), chatOf(u"del2"_qs, 40),
              chatOf(u"back"_qs, 51)},
             stateJson("\"old1\":20,\"gone\":5,\"good\":10", "\"del1\":30", "\"del2\":40,\"back\":50"));
        const LogCapture log;
        settle();
        QCOMPARE(state("confirmed").keys(), QStringList{u"good"_qs});
        QStringList left;
        for (int row = 0; row < device().store().count(); ++row)
            left.append(device().store().at(row).id);
        left.sort();
        QCOMPARE(left, (QStringList{u"back"_qs, u"good"_qs, u"old1"_qs}));
    }

    void damagedStateIsKept() {
        const LogCapture log;
        boot({chatOf(u"chat"_qs, begun)}, "{\"confirmed\":{},\"deletes\":{}}");
        settle();
        device().quit();
        const QDir folder(device().path(QString()));
        const QStringList kept = folder.entryList({u"account1.sync.json.damaged-*"_qs});
        QCOMPARE(kept.size(), 1);
        QCOMPARE(stored(kept.first()), "{\"confirmed\":{},\"deletes\":{}}");
        QCOMPARE(log.lines().size(), 1);
        QCOMPARE(stored(stateFile), stateJson("\"chat\":" + QByteArray::number(begun, 'f', 0)));
    }

    void failedSaveOfTheStateIsTriedAgain() {
        const QString path = device().path(stateFile);
        QVERIFY(QDir().mkpath(path + u"/in the way"_qs));
        device().store().upsertQuiet(chatOf(u"chat"_qs, begun));
        LogCapture log;
        pass();
        QVERIFY(waitUntil([&] { return !log.lines().isEmpty(); }));
        QVERIFY2(log.lines().first().startsWith(u"[Teskal] could not save sync state: "),
                 qPrintable(log.lines().first()));
        QVERIFY(QDir(path).removeRecursively());
        pass(); // finds nothing new, and what it knows is not on disk yet
        device().sync().flush();
        QCOMPARE(stored(stateFile), stateJson("\"chat\":" + QByteArray::number(begun, 'f', 0)));
    }
};

QTEST_GUILESS_MAIN(TestSyncFiles)
#include "TestSyncFiles.moc"
