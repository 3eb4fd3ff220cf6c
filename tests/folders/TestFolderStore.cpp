#include "Columns.h"
#include "FolderDevice.h"
#include "FolderName.h"
#include "LogCapture.h"
#include "WaitUntil.h"

#include <QDir>
#include <QTest>

using namespace teskal;
using namespace teskal::test;
using namespace std::chrono_literals;

namespace {

const QString owner = QStringLiteral("a");
const QString file = QStringLiteral("a.folders.json");
const QString chat1 = QStringLiteral("chat1");
const QString chat2 = QStringLiteral("chat2");
const QStringList foldersOnly{QStringLiteral("folders")};
const QStringList filedOnly{QStringLiteral("filed")};

/// A device whose account never reaches the service.
class OfflineDevice : public FolderDevice {
public:
    OfflineDevice() { store.claim(owner, std::nullopt); }
    QString make(const char* name) { return store.create(QString::fromUtf8(name)).value_or(QString()); }
    const FolderAssignment* assignment(const QString& chat) const {
        for (const FolderAssignment& each : store.document().assignments)
            if (each.chatId == chat)
                return &each;
        return nullptr;
    }
};

} // namespace

/// The rules of folders and their file, without a service.
class TestFolderStore final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void names_data() {
        const auto row = columns<QString, QString>("typed", "name");
        const auto repeated = [](const char* character, int count) {
            return QString::fromUtf8(character).repeated(count);
        };
        row("plain", "Work in progress", "Work in progress");
        row("surrounded", " \r\n\t\u00a0\u2028x y\u2029\n ", "x y");
        row("blank", " \n\t\u3000", QString());
        row("70 letters", repeated("a", 70), repeated("a", 60));
        row("cut before a blank is not trimmed again", repeated("a", 59) + QStringLiteral(" b"),
            repeated("a", 59) + QLatin1Char(' '));
        row("70 families", repeated("👨‍👩‍👧", 70), repeated("👨‍👩‍👧", 60));
        row("70 accents", repeated("e\u0301", 70), repeated("e\u0301", 60));
        row("characters without end", QStringLiteral("ab") + repeated("\u0301", 5'000), "a");
        row("one character without end", repeated("\u0301", 5'000), repeated("\u0301", 1'024));
        row("half a pair", QStringLiteral("x") + QChar(0xD83D), "x?");
    }
    void names() {
        QFETCH(const QString, typed);
        QTEST(cleanFolderName(typed), "name");
    }

    void nobodyHasFolders() {
        FolderDevice device;
        QVERIFY(!device.store.create(QStringLiteral("x")));
        device.store.assign({chat1}, std::nullopt);
        device.store.unfile({chat1});
        device.store.syncSoon(0ms);
        QVERIFY(device.store.document() == FolderDocument());
        QCOMPARE(device.clock.pending(), 0u);
        QCOMPARE(device.takeSignals(), QStringList());
    }

    void createdBehindTheOthers() {
        OfflineDevice device;
        QVERIFY(!device.store.create(QStringLiteral(" \n")));
        QCOMPARE(device.takeSignals(), QStringList());
        device.make("one");
        device.make(" two ");
        QCOMPARE(device.names(), (QStringList{QStringLiteral("one"), QStringLiteral("two")}));
        QCOMPARE(device.takeSignals(), foldersOnly + foldersOnly);
        const QList<Folder> folders = device.store.folders();
        QCOMPARE(folders[0].order, 0.0);
        QCOMPARE(folders[1].order, 1.0);
        QCOMPARE(folders[1].createdAt, device.clock.nowMs());
        QCOMPARE(folders[1].updatedAt, device.clock.nowMs());
        device.store.remove(folders[0].id);
        device.make("three");
        QCOMPARE(device.store.folders().last().order, 2.0);
        QCOMPARE(device.store.folders().last().name, QStringLiteral("three"));
    }

    void atMostTwoHundred() {
        OfflineDevice device;
        for (int i = 0; i < 200; ++i)
            QVERIFY(device.store.create(QString::number(i)));
        device.takeSignals();
        const QStringList once{QStringLiteral("notice: You can have up to 200 folders.")};
        QVERIFY(!device.store.create(QStringLiteral("more")));
        QVERIFY(!device.store.create(QStringLiteral("more")));
        QCOMPARE(device.takeSignals(), once);
        device.store.remove(device.store.folders().first().id);
        QVERIFY(device.store.create(QStringLiteral("room again")));
        device.store.claim(QStringLiteral("b"), std::nullopt);
        device.store.claim(owner, std::nullopt);
        device.takeSignals();
        QVERIFY(!device.store.create(QStringLiteral("more")));
        QCOMPARE(device.takeSignals(), once);
    }

    void renamed() {
        OfflineDevice device;
        const QString id = device.make("old");
        device.takeSignals();
        device.store.rename(id, QStringLiteral(" "));
        device.store.rename(QStringLiteral("unknown"), QStringLiteral("x"));
        QCOMPARE(device.takeSignals(), QStringList());
        device.store.rename(id, QStringLiteral("new\n"));
        QCOMPARE(device.names(), QStringList{QStringLiteral("new")});
        QCOMPARE(device.store.folders().first().updatedAt, device.clock.nowMs() + 1); // same millisecond
        QCOMPARE(device.takeSignals(), foldersOnly);
        device.clock.advance(5s);
        device.store.rename(id, QStringLiteral("newer"));
        QCOMPARE(device.store.folders().first().updatedAt, device.clock.nowMs());
    }

    void removed() {
        OfflineDevice device;
        const QString id = device.make("x");
        const QString other = device.make("y");
        device.store.assign({chat1}, id);
        device.store.assign({chat2}, other);
        device.takeSignals();
        device.store.remove(id);
        QCOMPARE(device.names(), QStringList{QStringLiteral("y")});
        QCOMPARE(device.store.document().deleted, (QMap<QString, double>{{id, device.clock.nowMs() + 1}}));
        QVERIFY(!device.assignment(chat1));
        QCOMPARE(device.store.filed(), (QHash<QString, QString>{{chat2, other}}));
        QCOMPARE(device.takeSignals(), foldersOnly + filedOnly);
        device.store.remove(id);
        QCOMPARE(device.takeSignals(), QStringList());
        // The service does not know yet that chat1 is not in there any more: what is decided next has to win.
        device.store.assign({chat1}, other);
        QCOMPARE(device.assignment(chat1)->updatedAt, device.clock.nowMs() + 1);
    }

    void filedAndTakenOut() {
        OfflineDevice device;
        const QString x = device.make("x");
        const QString y = device.make("y");
        device.takeSignals();
        device.store.assign({chat2, chat1, chat2, QString()}, x);
        QCOMPARE(device.store.document().assignments.size(), 2);
        QCOMPARE(device.store.folderFor(chat1), x);
        device.store.assign({chat1}, QStringLiteral("unknown"));
        QCOMPARE(device.store.folderFor(chat1), x);
        QCOMPARE(device.takeSignals(), filedOnly);
        device.store.assign({chat1}, x); // a later decision for the same folder
        QCOMPARE(device.takeSignals(), QStringList());
        QCOMPARE(device.assignment(chat1)->updatedAt, device.clock.nowMs() + 1);
        device.store.assign({chat1, QStringLiteral("chat0"), QStringLiteral("chat3")}, y);
        QStringList chats;
        for (const FolderAssignment& each : device.store.document().assignments)
            chats.append(each.chatId.last(1));
        QCOMPARE(chats.join(QString()), QStringLiteral("0123"));
        QCOMPARE(device.store.folderFor(chat1), y);
        device.store.assign({chat1}, std::nullopt);
        QVERIFY(device.assignment(chat1) && !device.assignment(chat1)->folderId);
        device.takeSignals();
        device.store.unfile({chat1, chat2, QStringLiteral("never filed")});
        QCOMPARE(device.takeSignals(), filedOnly);
        QCOMPARE(device.store.folderFor(chat2), std::nullopt);
        QCOMPARE(device.store.document().assignments.size(), 4);
    }

    void timesNeverGoBack() {
        // Another device's clock was far ahead, and one knew no clock at all.
        OfflineDevice device;
        device.store.claim(std::nullopt, std::nullopt);
        device.putFile(file, R"({"folders":[{"id":"f1","name":"x","order":0,"createdAt":1,"updatedAt":3e12},
                             {"id":"f2","name":"y","order":1,"createdAt":1,"updatedAt":1e300}],
                             "assignments":[{"chatId":"chat1","folderId":"f1","updatedAt":3e12}],"deleted":{}})");
        device.store.claim(owner, std::nullopt);
        const QString f1 = QStringLiteral("f1");
        const QString f2 = QStringLiteral("f2");
        device.store.unfile({chat1});
        QCOMPARE(device.assignment(chat1)->updatedAt, 3e12 + 1);
        device.store.assign({chat1}, f1);
        QCOMPARE(device.assignment(chat1)->updatedAt, 3e12 + 2);
        device.store.rename(f1, QStringLiteral("new"));
        QCOMPARE(device.store.folders()[0].updatedAt, 3e12 + 1);
        device.store.remove(f1);
        QCOMPARE(device.store.document().deleted.value(f1), 3e12 + 2);
        device.store.rename(f2, QStringLiteral("new"));
        QVERIFY(device.store.folders()[0].updatedAt > 1e300);
    }

    void chatsOfMissingFoldersAreNotFiled() {
        FolderDevice device;
        device.putFile(file, R"({"folders":[{"id":"f1","name":"x","order":0,"createdAt":1,"updatedAt":1}],
        "assignments":[{"chatId":"chat1","folderId":"f1","updatedAt":1},
                       {"chatId":"chat2","folderId":"gone","updatedAt":1}],"deleted":{}})");
        device.store.claim(owner, std::nullopt);
        QCOMPARE(device.takeSignals(), foldersOnly + filedOnly);
        QCOMPARE(device.store.filed(), (QHash<QString, QString>{{chat1, QStringLiteral("f1")}}));
        QCOMPARE(device.store.document().assignments.size(), 2);
    }

    void oneWriteAfterTheLastChange() {
        OfflineDevice device;
        device.make("x");
        device.clock.advance(599ms);
        device.make("y");
        device.clock.advance(599ms);
        device.make("z");
        QVERIFY(device.saved() == FolderDocument());
        device.clock.advance(600ms);
        QVERIFY(waitUntil([&] { return device.saved() == device.store.document(); }));
        QCOMPARE(device.clock.pending(), 0u);
    }

    void readBack() {
        OfflineDevice device;
        const QString id = device.make("“quoted” 😀\\");
        device.store.assign({chat1, chat2}, id);
        device.store.assign({chat2}, std::nullopt);
        device.store.remove(device.make("gone"));
        device.store.flush();
        QCOMPARE(device.clock.pending(), 0u);
        FolderStore again(device.folder.filePath(QStringLiteral("Chats")), device.clock);
        again.claim(owner, std::nullopt);
        QVERIFY(again.document() == device.store.document());
        QCOMPARE(again.filed(), device.store.filed());
    }

    void expiredDeletionsGoAtLoad() {
        FolderDevice device;
        const double day = 86'400'000;
        const double now = device.clock.nowMs();
        FolderDocument document;
        document.deleted = {{QStringLiteral("old"), now - 366 * day},
                            {QStringLiteral("recent"), now - 364 * day}};
        device.putFile(file, encodeFolderDocument(document));
        device.store.claim(owner, std::nullopt);
        QCOMPARE(device.store.document().deleted.keys(), QStringList{QStringLiteral("recent")});
        device.store.flush();
        QVERIFY(device.saved() == device.store.document());
    }

    void unchangedIsNotWritten() {
        FolderDevice device;
        const QByteArray content = R"( {"folders":[], "other":1} )";
        device.putFile(file, content);
        device.store.claim(owner, std::nullopt);
        QCOMPARE(device.clock.pending(), 0u);
        device.store.flush();
        device.store.claim(std::nullopt, std::nullopt);
        QCOMPARE(device.fileContent(file), content);
    }

    void accountsAreApart() {
        OfflineDevice device;
        const QString id = device.make("of a");
        device.store.assign({chat1}, id);
        device.takeSignals();
        device.store.claim(QStringLiteral("b/../c"), std::nullopt); // writes what a had not saved yet
        QCOMPARE(device.takeSignals(), foldersOnly + filedOnly);
        QVERIFY(device.store.document() == FolderDocument());
        QCOMPARE(device.saved().folders.size(), 1);
        device.make("of b");
        device.store.claim(owner, std::nullopt);
        QCOMPARE(device.names(), QStringList{QStringLiteral("of a")});
        QCOMPARE(device.store.folderFor(chat1), id);
        const QStringList files = QDir(device.path(QString())).entryList(QDir::Files);
        QCOMPARE(files, (QStringList{file, QStringLiteral("b%2F%2E%2E%2Fc.folders.json")}));
    }

    void damagedFileIsKept() {
        FolderDevice device;
        device.putFile(file, "{\"half\":");
        LogCapture log;
        device.store.claim(owner, std::nullopt);
        device.store.flush();
        QCOMPARE(device.fileContent(file), "{\"half\":"); // until there is something to write
        for (const char* name : {"x", "y"}) {
            QVERIFY(device.store.create(QString::fromLatin1(name)));
            device.store.flush();
        }
        const QStringList kept = QDir(device.path(QString())).entryList({QStringLiteral("*.damaged-*")});
        QCOMPARE(kept.size(), 1);
        QCOMPARE(device.fileContent(kept.first()), "{\"half\":");
        QCOMPARE(log.lines().size(), 1);
        QVERIFY(log.lines().first().contains(kept.first()));
        QVERIFY(device.saved() == device.store.document());
    }

    void failedSaveIsTriedAgain() {
        OfflineDevice device;
        device.make("first");
        device.store.flush();
        // The folder becomes a file: nothing can be written below it, not even by root.
        const QString folder = device.folder.filePath(QStringLiteral("Chats"));
        const QString moved = device.folder.filePath(QStringLiteral("Moved"));
        QVERIFY(QDir().rename(folder, moved));
        QFile inTheWay(folder);
        QVERIFY(inTheWay.open(QFile::WriteOnly));

        LogCapture log;
        for (int failures = 1; failures <= 2; ++failures) { // with each change, but not on its own
            device.make("more");
            device.clock.advance(600ms);
            QVERIFY(waitUntil([&] { return log.lines().size() == failures; }));
            QVERIFY2(log.lines().last().startsWith(QLatin1String("[Teskal] could not save folders: ")),
                     qPrintable(log.lines().last()));
            device.clock.advance(1h);
            QCOMPARE(device.clock.pending(), 0u);
        }
        QCOMPARE(device.names().size(), 3);
        QVERIFY(inTheWay.remove());
        QVERIFY(QDir().rename(moved, folder));
        QCOMPARE(device.saved().folders.size(), 1);
        device.store.flush();
        QVERIFY(device.saved() == device.store.document());
        QCOMPARE(log.lines().size(), 2);
    }
};

QTEST_GUILESS_MAIN(TestFolderStore)
#include "TestFolderStore.moc"
