#include "LogCapture.h"
#include "StoreFixture.h"

#include <QDir>
#include <QProcess>
#include <QRandomGenerator>
#include <QTest>

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

} // namespace

/// The chats on disk: when they are written, and that nothing is lost when writing fails or is cut short.
class TestSaving final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void manyChangesAreOneWrite();
    void streamingStartsNoSaveButIsNotLost();
    void whatIsWrittenIsReadBack();
    void nobodyWritesNothing();
    void unchangedIsNotWrittenAgain();
    void damagedFileIsKeptBeforeTheFirstSave();
    void failedSaveIsLoggedAndTriedAgain();
    void killedWhileSaving();
};

void TestSaving::manyChangesAreOneWrite() {
    StoreFixture fixture;
    fixture.store.claim(account);
    const QString id = fixture.store.create(QStringLiteral("0"));
    for (int i = 1; i <= 10; ++i) {
        fixture.clock.advance(599ms);
        retitle(fixture.store, id, QString::number(i));
        QVERIFY(!QFile::exists(fixture.path(accountFile)));
    }
    fixture.clock.advance(599ms);
    QVERIFY(!QFile::exists(fixture.path(accountFile)));
    fixture.clock.advance(1ms);
    QVERIFY(fixture.fileContent(accountFile).contains("\"title\":\"10\""));
    QCOMPARE(fixture.clock.pending(), 0u);
}

void TestSaving::streamingStartsNoSaveButIsNotLost() {
    StoreFixture fixture;
    fixture.store.claim(account);
    const QString id = fixture.store.create(QStringLiteral("a"));
    fixture.clock.advance(1s);
    retitle(fixture.store, id, QStringLiteral("streamed"), Save::No);
    fixture.clock.advance(1h);
    QVERIFY(!fixture.fileContent(accountFile).contains("streamed"));
    fixture.store.flush(); // as when the application ends
    QVERIFY(fixture.fileContent(accountFile).contains("streamed"));
}

void TestSaving::whatIsWrittenIsReadBack() {
    StoreFixture fixture;
    fixture.store.claim(account);
    for (const char* title : {"one", "two “quoted” 😀", "three"}) {
        const QString id = fixture.store.create(QString::fromUtf8(title));
        fixture.store.update(id, Touch::No, Save::Yes, [](Chat& chat) {
            ChatMessage message;
            message.id = QStringLiteral("m1");
            message.content = QStringLiteral("text\n");
            message.route = JSONValue(JSONValue::Object{{QStringLiteral("k"), JSONValue(0.5)}});
            chat.messages.append(message);
        });
    }
    QList<Chat> before;
    for (int row = 0; row < fixture.store.count(); ++row)
        before.append(fixture.store.at(row));
    fixture.store.flush();
    ChatStore again(fixture.folder.filePath(QStringLiteral("Chats")), fixture.clock);
    again.claim(account);
    QList<Chat> after;
    for (int row = 0; row < again.count(); ++row)
        after.append(again.at(row));
    QVERIFY(after == before);
}

void TestSaving::nobodyWritesNothing() {
    StoreFixture fixture;
    fixture.store.create(QStringLiteral("a"));
    fixture.clock.advance(1s);
    fixture.store.flush();
    QVERIFY(!QDir(fixture.path(QString())).exists());
}

void TestSaving::unchangedIsNotWrittenAgain() {
    StoreFixture fixture;
    const QByteArray content = "[ ]";
    fixture.putFile(accountFile, content);
    fixture.store.claim(account);
    fixture.store.flush();
    fixture.store.claim(std::nullopt);
    QCOMPARE(fixture.fileContent(accountFile), content);
}

void TestSaving::damagedFileIsKeptBeforeTheFirstSave() {
    StoreFixture fixture;
    fixture.putFile(accountFile, "[{\"half\":");
    LogCapture log;
    fixture.store.claim(account);
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

void TestSaving::failedSaveIsLoggedAndTriedAgain() {
    StoreFixture fixture;
    fixture.store.claim(account);
    const QString id = fixture.store.create(QStringLiteral("first"));
    fixture.store.flush();
    // The folder becomes a file: nothing can be written below it, not even by root.
    const QString folder = fixture.folder.filePath(QStringLiteral("Chats"));
    const QString moved = fixture.folder.filePath(QStringLiteral("Moved"));
    QVERIFY(QDir().rename(folder, moved));
    QFile inTheWay(folder);
    QVERIFY(inTheWay.open(QFile::WriteOnly));

    LogCapture log;
    retitle(fixture.store, id, QStringLiteral("second"));
    fixture.clock.advance(600ms);
    QCOMPARE(log.lines().size(), 1);
    QVERIFY2(log.lines().first().startsWith(QLatin1String("[Teskal] could not save chats: ")),
             qPrintable(log.lines().first()));
    QCOMPARE(fixture.titles(), QStringList{QStringLiteral("second")});
    fixture.clock.advance(1h);
    QCOMPARE(log.lines().size(), 1); // not on its own,
    retitle(fixture.store, id, QStringLiteral("third"));
    fixture.clock.advance(600ms);
    QCOMPARE(log.lines().size(), 2); // but with the next change

    QVERIFY(inTheWay.remove());
    QVERIFY(QDir().rename(moved, folder));
    QVERIFY(fixture.fileContent(accountFile).contains("first"));
    fixture.store.flush(); // and the next flush
    QVERIFY(fixture.fileContent(accountFile).contains("third"));
    QCOMPARE(log.lines().size(), 2);
}

void TestSaving::killedWhileSaving() {
    StoreFixture fixture;
    const QString folder = fixture.folder.filePath(QStringLiteral("Chats"));
    QRandomGenerator random(24);
    int lastRound = -1;
    for (int round = 0; round < 12; ++round) {
        QProcess saver;
        saver.start(QStringLiteral(TESKAL_ENDLESS_SAVER), {folder, account});
        // One line per save; the next save is under way when the signal arrives.
        const int saves = 1 + random.bounded(8);
        int lines = 0;
        while (lines < saves && saver.waitForReadyRead(10'000))
            lines += int(saver.readAllStandardOutput().count('\n'));
        QVERIFY(lines >= saves);
        saver.kill();
        QVERIFY(saver.waitForFinished(10'000));

        const QList<Chat> chats = decodeChats(fixture.fileContent(accountFile)); // throws on half a file
        QCOMPARE(chats.size(), 40);
        const int saved = chats.first().title.toInt();
        QVERIFY2(saved > lastRound, "a finished save was lost");
        lastRound = saved;
        for (const Chat& chat : chats)
            QCOMPARE(chat.title.toInt(), saved);
    }
}

QTEST_GUILESS_MAIN(TestSaving)
#include "TestSaving.moc"
