#include "Columns.h"
#include "LogCapture.h"
#include "Pending.h"
#include "StoreFixture.h"
#include "UnwritableFolder.h"

#include <QProcess>
#include <QRandomGenerator>
#include <QThread>

using namespace teskal::test;
using namespace std::chrono_literals;

namespace {

QCoro::Task<bool> waitForWrite(ChatStore& store, std::stop_token stop) {
    const auto written = store.written();
    co_return co_await written.wait(stop);
}

auto startWrite(ChatStore& store) {
    return start([&store](std::stop_token stop) { return waitForWrite(store, stop); });
}

// Titles are "<round>:<number>".
int roundOf(const Chat& chat) {
    return chat.title.section(u':', 0, 0).toInt();
}
int numberOf(const Chat& chat) {
    return chat.title.section(u':', 1).toInt();
}

} // namespace

/// The chats on disk: when they are written, and that nothing is lost when writing fails or is cut short.
class TestSaving final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void manyChangesAreOneWrite() {
        StoreFixture fixture(account);
        const QString id = fixture.store.create(u"0"_qs);
        for (int i = 1; i <= 10; ++i) {
            fixture.pass(599ms);
            retitle(fixture.store, id, QString::number(i));
            QVERIFY(!QFile::exists(fixture.path(accountFile)));
        }
        fixture.pass(599ms);
        QVERIFY(!QFile::exists(fixture.path(accountFile)));
        fixture.pass(1ms);
        QVERIFY(fixture.fileContent().contains("\"title\":\"10\""));
        QCOMPARE(fixture.clock.pending(), 0u);
        retitle(fixture.store, id, u"streamed"_qs, Save::No); // starts no save, but is not lost
        fixture.pass(1h);
        QVERIFY(!fixture.fileContent().contains("streamed"));
        fixture.store.flush(); // as when the application ends
        QVERIFY(fixture.fileContent().contains("streamed"));
    }

    void nobodyAndUnchangedChatsAreNotWritten() {
        StoreFixture nobody;
        nobody.store.create(u"a"_qs);
        nobody.pass(1s);
        nobody.store.flush();
        QVERIFY(!QDir(nobody.path(QString())).exists());
        StoreFixture unchanged(account, "[ ]");
        unchanged.store.flush();
        unchanged.claim(std::nullopt);
        QCOMPARE(unchanged.fileContent(), "[ ]");
    }

    void unchangedChatsAreCopiedAsTheyAre() {
        // Blanks and members of a newer version survive in chats that nobody changed.
        const QByteArray foreign =
            R"({ "id":"c2","title":"t","createdAt":1,"updatedAt":2,"messages":[],"later":[1] })";
        const QByteArray mine = R"({"id":"c1","title":"t","createdAt":1,"updatedAt":3,"messages":[]})";
        const QByteArray third = R"({"id":"c3","title":"t","createdAt":1,"updatedAt":1,"messages":[]})";
        StoreFixture fixture(account, " [" + mine + " , " + foreign + "," + third + "]\n");
        for (int round = 0; round < 3; ++round) {
            retitle(fixture.store, u"c1"_qs, u"round %1"_qs.arg(round));
            fixture.pass(600ms);
            QCOMPARE(fixture.fileContent(),
                     "[" + QByteArray(mine).replace("\"t\"", "\"round " + QByteArray::number(round) + "\"") +
                         "," + foreign + "," + third + "]");
        }
        fixture.store.remove(u"c2"_qs);
        fixture.store.rename(u"c3"_qs, u"first"_qs);
        fixture.store.flush();
        const QList<Chat> chats = decodeChats(fixture.fileContent());
        QCOMPARE(chats, (QList<Chat>{fixture.store.at(0), fixture.store.at(1)}));
        QCOMPARE(chats.first().title, u"first"_qs);
    }

    void fileChangedFromOutsideIsNotCopied_data() {
        rows<QByteArray>("content", {{"shorter", "[]"}, {"other chats", QByteArray(500, 'x')}});
    }
    void fileChangedFromOutsideIsNotCopied() {
        QFETCH(const QByteArray, content);
        StoreFixture fixture(account);
        const QString a = fixture.store.create(u"a"_qs);
        fixture.store.create(u"b"_qs);
        fixture.store.flush();
        fixture.putFile(accountFile, content); // in place, as a careless editor does
        retitle(fixture.store, a, u"changed"_qs);
        QVERIFY(startWrite(fixture.store).result());
        QCOMPARE(decodeChats(fixture.fileContent()), (QList<Chat>{fixture.store.at(0), fixture.store.at(1)}));
    }

    void changesDuringAWriteAreInTheNext() {
        StoreFixture fixture(account);
        const QString a = fixture.store.create(u"a"_qs);
        const QString b = fixture.store.create(u"b"_qs);
        auto first = startWrite(fixture.store);
        QVERIFY(fixture.store.isSaving());
        retitle(fixture.store, a, u"later"_qs);
        fixture.store.remove(b);
        auto second = startWrite(fixture.store);
        QVERIFY(first.result());
        QVERIFY(second.result());
        QVERIFY(!fixture.store.isSaving());
        QCOMPARE(decodeChats(fixture.fileContent()), QList<Chat>{fixture.store.at(0)});
        auto nothing = startWrite(fixture.store);
        QVERIFY(!fixture.store.isSaving());
        QVERIFY(nothing.result());

        // A write under way does not outlive its account's claim.
        retitle(fixture.store, a, u"last"_qs);
        auto third = startWrite(fixture.store);
        fixture.claim(std::nullopt);
        QVERIFY(third.result());
        QVERIFY(fixture.fileContent().contains("last"));
    }

    void privateChatLeavesNoTrace() {
        StoreFixture fixture(account);
        fixture.store.create(u"open"_qs);
        Chat secret;
        secret.id = u"secret-id"_qs;
        secret.title = u"Private chat"_qs;
        fixture.store.setPrivateChat(secret);
        addMessage(fixture.store, secret.id, u"m"_qs, u"a secret"_qs, true);
        fixture.store.rename(secret.id, u"hidden"_qs);
        fixture.store.upsertQuiet(secret);
        fixture.pass(600ms);
        fixture.store.stopPending();
        fixture.store.flush();
        QVERIFY(fixture.store.privateChat());
        QCOMPARE(fixture.store.privateChat()->messages.size(), 1);
        fixture.store.remove(secret.id);
        QVERIFY(!fixture.store.privateChat());
        fixture.store.setPrivateChat(secret);
        fixture.claim(std::nullopt);
        QVERIFY(!fixture.store.privateChat());
        for (const QString& name : fixture.files())
            for (const char* trace : {"secret", "hidden", "Private"})
                QVERIFY2(!fixture.fileContent(name).contains(trace), qPrintable(name));
        QVERIFY(!fixture.takeSignals().contains(u"deleted"));
    }

    void leftoversAreRemovedAtClaim() {
        StoreFixture fixture;
        for (const char* name : {"account1.json", "account1.json.AbCdEf", "account1.json.damaged",
                                 "account1.json.Abc12f", "account2.json.AbCdEf"})
            fixture.putFile(QLatin1String(name), "[]");
        fixture.claim(account);
        QCOMPARE(fixture.files(), (QStringList{u"account1.json"_qs, u"account1.json.Abc12f"_qs,
                                               u"account1.json.damaged"_qs, u"account2.json.AbCdEf"_qs}));
    }

    void damagedFileIsKeptOnceThoughTheFirstSaveFails() {
        StoreFixture fixture(account, "[{\"half\":");
        fixture.store.create(u"a"_qs);
        const LogCapture log;
        {
            const UnwritableFolder folder(fixture.path({}));
            fixture.store.flush();
            fixture.store.flush();
            QCOMPARE(log.lines().size(), 2);
        }
        fixture.store.flush();
        fixture.store.create(u"b"_qs);
        fixture.store.flush();
        const QStringList kept = fixture.files(u"*.damaged-*"_qs);
        QCOMPARE(kept.size(), 1);
        QCOMPARE(fixture.fileContent(kept.first()), "[{\"half\":");
        QVERIFY(fixture.fileContent().contains("\"b\""));
        QCOMPARE(log.lines().size(), 3);
    }

    void failedSaveIsLoggedAndTriedAgain() {
        StoreFixture fixture(account);
        const QString id = fixture.store.create(u"first"_qs);
        fixture.store.flush();
        auto folder = std::make_unique<UnwritableFolder>(fixture.path({}));

        LogCapture log;
        retitle(fixture.store, id, u"second"_qs);
        fixture.pass(600ms);
        QCOMPARE(log.lines().size(), 1);
        QVERIFY2(log.lines().first().startsWith(u"[Teskal] could not save chats: "),
                 qPrintable(log.lines().first()));
        QCOMPARE(fixture.titles(), u"second"_qs);
        fixture.pass(1h);
        QCOMPARE(log.lines().size(), 1); // not on its own,
        retitle(fixture.store, id, u"third"_qs);
        fixture.pass(600ms);
        QCOMPARE(log.lines().size(), 2); // but with the next change

        folder.reset();
        QVERIFY(fixture.fileContent().contains("first"));
        fixture.store.flush(); // and the next flush
        QVERIFY(fixture.fileContent().contains("third"));
        QCOMPARE(log.lines().size(), 2);
    }

    void killedWhileSaving() {
        StoreFixture fixture;
        const QString folder = fixture.folder.filePath(u"Chats"_qs);
        QRandomGenerator random(24);
        int lastRound = 0;
        for (int killed = 0; killed < 200; ++killed) {
            QProcess saver;
            saver.start(QStringLiteral(TESKAL_ENDLESS_SAVER), {folder, account});
            // One line per save; the next save is under way when the signal arrives.
            const int saves = 1 + random.bounded(3);
            int lines = 0;
            while (lines < saves && saver.waitForReadyRead(10'000))
                lines += int(saver.readAllStandardOutput().count('\n'));
            QVERIFY(lines >= saves);
            QThread::usleep(random.bounded(5'000u));
            saver.kill();
            QVERIFY(saver.waitForFinished(10'000));

            const QList<Chat> chats = decodeChats(fixture.fileContent()); // throws on half a file
            QCOMPARE(chats.size(), 40);
            const int round = roundOf(chats.first()); // the one that changed last
            QVERIFY2(round >= lastRound + saves, "a finished save was lost");
            lastRound = round;
            for (const Chat& chat : chats)
                QCOMPARE(roundOf(chat), numberOf(chat) % 2 == 0 || round % 2 != 0 ? round : round - 1);
        }
    }
};

QTEST_GUILESS_MAIN(TestSaving)
#include "TestSaving.moc"
