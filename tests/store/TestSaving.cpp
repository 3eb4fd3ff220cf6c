#include "Columns.h"
#include "LogCapture.h"
#include "Pending.h"
#include "StoreFixture.h"

#include <QDir>
#include <QProcess>
#include <QRandomGenerator>
#include <QTest>
#include <QThread>

using namespace teskal;
using namespace teskal::test;
using namespace std::chrono_literals;

namespace {

using Touch = ChatStore::Touch;
using Save = ChatStore::Save;

const QString account = QStringLiteral("account1");
const QString accountFile = QStringLiteral("account1.json");

void retitle(ChatStore& store, const QString& chat, const QString& title, Save save = Save::Yes) {
    store.update(chat, Touch::No, save, [&](Chat& changed) { changed.title = title; });
}

QCoro::Task<bool> waitForWrite(ChatStore& store, std::stop_token stop) {
    const auto written = store.written();
    co_return co_await written.wait(stop);
}

/// Makes a folder a file for as long as it lives: nothing can be written below it, not even by root.
class Unwritable {
public:
    explicit Unwritable(const StoreFixture& fixture)
        : folder_(fixture.folder.filePath(QStringLiteral("Chats"))),
          moved_(fixture.folder.filePath(QStringLiteral("Moved"))) {
        QFile inTheWay(folder_);
        if (!QDir().rename(folder_, moved_) || !inTheWay.open(QFile::WriteOnly))
            qFatal("the test cannot block its folder");
    }
    ~Unwritable() {
        if (!QFile::remove(folder_) || !QDir().rename(moved_, folder_))
            qFatal("the test cannot free its folder");
    }
    Unwritable(const Unwritable&) = delete;
    Unwritable& operator=(const Unwritable&) = delete;

private:
    QString folder_;
    QString moved_;
};

void addSecretMessage(ChatStore& store, const QString& chatId) {
    store.update(chatId, Touch::Yes, Save::Yes, [](Chat& chat) {
        ChatMessage message;
        message.id = QStringLiteral("m");
        message.content = QStringLiteral("a secret");
        message.pending = true;
        chat.messages.append(message);
    });
}

// Titles are "<round>:<number>".
int roundOf(const Chat& chat) {
    return chat.title.section(QLatin1Char(':'), 0, 0).toInt();
}
int numberOf(const Chat& chat) {
    return chat.title.section(QLatin1Char(':'), 1).toInt();
}

} // namespace

/// The chats on disk: when they are written, and that nothing is lost when writing fails or is cut short.
class TestSaving final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void manyChangesAreOneWrite() {
        StoreFixture fixture;
        fixture.claim(account);
        const QString id = fixture.store.create(QStringLiteral("0"));
        for (int i = 1; i <= 10; ++i) {
            fixture.pass(599ms);
            retitle(fixture.store, id, QString::number(i));
            QVERIFY(!QFile::exists(fixture.path(accountFile)));
        }
        fixture.pass(599ms);
        QVERIFY(!QFile::exists(fixture.path(accountFile)));
        fixture.pass(1ms);
        QVERIFY(fixture.fileContent(accountFile).contains("\"title\":\"10\""));
        QCOMPARE(fixture.clock.pending(), 0u);
    }

    void streamingStartsNoSaveButIsNotLost() {
        StoreFixture fixture;
        fixture.claim(account);
        const QString id = fixture.store.create(QStringLiteral("a"));
        fixture.pass(1s);
        retitle(fixture.store, id, QStringLiteral("streamed"), Save::No);
        fixture.pass(1h);
        QVERIFY(!fixture.fileContent(accountFile).contains("streamed"));
        fixture.store.flush(); // as when the application ends
        QVERIFY(fixture.fileContent(accountFile).contains("streamed"));
    }

    void nobodyWritesNothing() {
        StoreFixture fixture;
        fixture.store.create(QStringLiteral("a"));
        fixture.pass(1s);
        fixture.store.flush();
        QVERIFY(!QDir(fixture.path(QString())).exists());
    }

    void unchangedIsNotWrittenAgain() {
        StoreFixture fixture;
        const QByteArray content = "[ ]";
        fixture.putFile(accountFile, content);
        fixture.claim(account);
        fixture.store.flush();
        fixture.claim(std::nullopt);
        QCOMPARE(fixture.fileContent(accountFile), content);
    }

    void unchangedChatsAreCopiedAsTheyAre() {
        // Blanks and members of a newer version survive in chats that nobody changed.
        const QByteArray foreign =
            R"({ "id":"c2","title":"t","createdAt":1,"updatedAt":2,"messages":[],"later":[1] })";
        const QByteArray mine = R"({"id":"c1","title":"t","createdAt":1,"updatedAt":3,"messages":[]})";
        const QByteArray third = R"({"id":"c3","title":"t","createdAt":1,"updatedAt":1,"messages":[]})";
        StoreFixture fixture;
        fixture.putFile(accountFile, " [" + mine + " , " + foreign + "," + third + "]\n");
        fixture.claim(account);
        for (int round = 0; round < 3; ++round) {
            retitle(fixture.store, QStringLiteral("c1"), QStringLiteral("round %1").arg(round));
            fixture.pass(600ms);
            QCOMPARE(fixture.fileContent(accountFile),
                     "[" + QByteArray(mine).replace("\"t\"", "\"round " + QByteArray::number(round) + "\"") +
                         "," + foreign + "," + third + "]");
        }
        fixture.store.remove(QStringLiteral("c2"));
        fixture.store.rename(QStringLiteral("c3"), QStringLiteral("first"));
        fixture.store.flush();
        const QList<Chat> chats = decodeChats(fixture.fileContent(accountFile));
        QCOMPARE(chats, (QList<Chat>{fixture.store.at(0), fixture.store.at(1)}));
        QCOMPARE(chats.first().title, QStringLiteral("first"));
    }

    void fileChangedFromOutsideIsNotCopied_data() {
        const auto row = columns<QByteArray>("content");
        row("shorter", "[]");
        row("other chats", QByteArray(500, 'x'));
    }
    void fileChangedFromOutsideIsNotCopied() {
        QFETCH(const QByteArray, content);
        StoreFixture fixture;
        fixture.claim(account);
        const QString a = fixture.store.create(QStringLiteral("a"));
        fixture.store.create(QStringLiteral("b"));
        fixture.store.flush();
        fixture.putFile(accountFile, content); // in place, as a careless editor does
        retitle(fixture.store, a, QStringLiteral("changed"));
        auto written = start([&](std::stop_token stop) { return waitForWrite(fixture.store, stop); });
        QVERIFY(written.result());
        QCOMPARE(decodeChats(fixture.fileContent(accountFile)),
                 (QList<Chat>{fixture.store.at(0), fixture.store.at(1)}));
    }

    void changesDuringAWriteAreInTheNext() {
        StoreFixture fixture;
        fixture.claim(account);
        const QString a = fixture.store.create(QStringLiteral("a"));
        const QString b = fixture.store.create(QStringLiteral("b"));
        auto first = start([&](std::stop_token stop) { return waitForWrite(fixture.store, stop); });
        QVERIFY(fixture.store.isSaving());
        retitle(fixture.store, a, QStringLiteral("later"));
        fixture.store.remove(b);
        auto second = start([&](std::stop_token stop) { return waitForWrite(fixture.store, stop); });
        QVERIFY(first.result());
        QVERIFY(second.result());
        QVERIFY(!fixture.store.isSaving());
        QCOMPARE(decodeChats(fixture.fileContent(accountFile)), QList<Chat>{fixture.store.at(0)});
        auto nothing = start([&](std::stop_token stop) { return waitForWrite(fixture.store, stop); });
        QVERIFY(!fixture.store.isSaving());
        QVERIFY(nothing.result());

        // A write under way does not outlive its account's claim.
        retitle(fixture.store, a, QStringLiteral("last"));
        auto third = start([&](std::stop_token stop) { return waitForWrite(fixture.store, stop); });
        fixture.claim(std::nullopt);
        QVERIFY(third.result());
        QVERIFY(fixture.fileContent(accountFile).contains("last"));
    }

    void privateChatLeavesNoTrace() {
        StoreFixture fixture;
        fixture.claim(account);
        fixture.store.create(QStringLiteral("open"));
        Chat secret;
        secret.id = QStringLiteral("secret-id");
        secret.title = QStringLiteral("Private chat");
        fixture.store.setPrivateChat(secret);
        addSecretMessage(fixture.store, secret.id);
        fixture.store.rename(secret.id, QStringLiteral("hidden"));
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
        for (const QString& name : QDir(fixture.path(QString())).entryList(QDir::Files))
            for (const char* trace : {"secret", "hidden", "Private"})
                QVERIFY2(!fixture.fileContent(name).contains(trace), qPrintable(name));
        QCOMPARE(fixture.takeSignals().filter(QStringLiteral("deleted")), QStringList());
    }

    void leftoversAreRemovedAtClaim() {
        StoreFixture fixture;
        for (const char* name : {"account1.json", "account1.json.AbCdEf", "account1.json.damaged",
                                 "account1.json.Abc12f", "account2.json.AbCdEf"})
            fixture.putFile(QLatin1String(name), "[]");
        fixture.claim(account);
        QCOMPARE(
            QDir(fixture.path(QString())).entryList(QDir::Files, QDir::Name),
            (QStringList{QStringLiteral("account1.json"), QStringLiteral("account1.json.Abc12f"),
                         QStringLiteral("account1.json.damaged"), QStringLiteral("account2.json.AbCdEf")}));
    }

    void damagedFileIsKeptBeforeTheFirstSave() {
        StoreFixture fixture;
        fixture.putFile(accountFile, "[{\"half\":");
        LogCapture log;
        fixture.claim(account);
        fixture.store.create(QStringLiteral("a"));
        fixture.store.flush();
        fixture.store.create(QStringLiteral("b"));
        fixture.store.flush();
        const QStringList kept = QDir(fixture.path(QString())).entryList({QStringLiteral("*.damaged-*")});
        QCOMPARE(kept.size(), 1);
        QCOMPARE(fixture.fileContent(kept.first()), "[{\"half\":");
        QCOMPARE(log.lines().size(), 1);
        QVERIFY(log.lines().first().contains(kept.first()));
        QVERIFY(fixture.fileContent(accountFile).contains("\"b\""));
    }

    void damagedFileIsKeptWhenTheFirstSaveFails() {
        StoreFixture fixture;
        fixture.putFile(accountFile, "[{\"half\":");
        fixture.claim(account);
        fixture.store.create(QStringLiteral("a"));
        const LogCapture log;
        {
            const Unwritable folder(fixture);
            fixture.store.flush();
            fixture.store.flush();
            QCOMPARE(log.lines().size(), 2);
        }
        fixture.store.flush();
        fixture.store.create(QStringLiteral("b"));
        fixture.store.flush();
        const QStringList kept = QDir(fixture.path(QString())).entryList({QStringLiteral("*.damaged-*")});
        QCOMPARE(kept.size(), 1);
        QCOMPARE(fixture.fileContent(kept.first()), "[{\"half\":");
        QVERIFY(fixture.fileContent(accountFile).contains("\"b\""));
        QCOMPARE(log.lines().size(), 3);
    }

    void failedSaveIsLoggedAndTriedAgain() {
        StoreFixture fixture;
        fixture.claim(account);
        const QString id = fixture.store.create(QStringLiteral("first"));
        fixture.store.flush();
        auto folder = std::make_unique<Unwritable>(fixture);

        LogCapture log;
        retitle(fixture.store, id, QStringLiteral("second"));
        fixture.pass(600ms);
        QCOMPARE(log.lines().size(), 1);
        QVERIFY2(log.lines().first().startsWith(QLatin1String("[Teskal] could not save chats: ")),
                 qPrintable(log.lines().first()));
        QCOMPARE(fixture.titles(), QStringList{QStringLiteral("second")});
        fixture.pass(1h);
        QCOMPARE(log.lines().size(), 1); // not on its own,
        retitle(fixture.store, id, QStringLiteral("third"));
        fixture.pass(600ms);
        QCOMPARE(log.lines().size(), 2); // but with the next change

        folder.reset();
        QVERIFY(fixture.fileContent(accountFile).contains("first"));
        fixture.store.flush(); // and the next flush
        QVERIFY(fixture.fileContent(accountFile).contains("third"));
        QCOMPARE(log.lines().size(), 2);
    }

    void killedWhileSaving() {
        StoreFixture fixture;
        const QString folder = fixture.folder.filePath(QStringLiteral("Chats"));
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

            const QList<Chat> chats = decodeChats(fixture.fileContent(accountFile)); // throws on half a file
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
