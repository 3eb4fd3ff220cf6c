#include "Columns.h"
#include "FolderDevice.h"
#include "FolderName.h"
#include "LogCapture.h"
#include "UnwritableFolder.h"

using namespace teskal::test;
using namespace std::chrono_literals;

namespace {

const QString owner = u"a"_qs;
const QString file = u"a.folders.json"_qs;
const QString chat1 = u"chat1"_qs;
const QString chat2 = u"chat2"_qs;

/// A device whose account never reaches the service.
class OfflineDevice : public FolderDevice {
public:
    /// Its file has that content, if any.
    explicit OfflineDevice(const QByteArray& content = {}) {
        if (!content.isEmpty())
            putFile(file, content);
        store.claim(owner, std::nullopt);
    }
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
        row("cut before a blank is not trimmed again", repeated("a", 59) + u" b"_qs,
            repeated("a", 59) + QLatin1Char(' '));
        row("70 families", repeated("👨‍👩‍👧", 70), repeated("👨‍👩‍👧", 60));
        row("70 accents", repeated("e\u0301", 70), repeated("e\u0301", 60));
        row("characters without end", u"ab"_qs + repeated("\u0301", 5'000), "a");
        row("one character without end", repeated("\u0301", 5'000), repeated("\u0301", 1'024));
        row("half a pair", u"x"_qs + QChar(0xD83D), "x?");
    }
    void names() {
        QFETCH(const QString, typed);
        QTEST(cleanFolderName(typed), "name");
    }

    void createdBehindTheOthers() {
        OfflineDevice device;
        QVERIFY(!device.store.create(u" \n"_qs));
        QCOMPARE(device.takeSignals(), QString());
        device.make("one");
        device.make(" two ");
        QCOMPARE(device.names(), u"one, two"_qs);
        QCOMPARE(device.takeSignals(), u"folders, folders"_qs);
        const QList<Folder> folders = device.store.folders();
        QCOMPARE(folders[0].order, 0.0);
        QCOMPARE(folders[1].order, 1.0);
        QCOMPARE(folders[1].createdAt, device.clock.nowMs());
        QCOMPARE(folders[1].updatedAt, device.clock.nowMs());
        device.store.remove(folders[0].id);
        device.make("three");
        QCOMPARE(device.store.folders().last().order, 2.0);
        QCOMPARE(device.store.folders().last().name, u"three"_qs);
    }

    void atMostTwoHundred() {
        OfflineDevice device;
        for (int i = 0; i < 200; ++i)
            QVERIFY(device.store.create(QString::number(i)));
        device.takeSignals();
        const QString once = u"notice: You can have up to 200 folders."_qs;
        QVERIFY(!device.store.create(u"more"_qs));
        QVERIFY(!device.store.create(u"more"_qs));
        QCOMPARE(device.takeSignals(), once);
        device.store.remove(device.store.folders().first().id);
        QVERIFY(device.store.create(u"room again"_qs));
        device.store.claim(u"b"_qs, std::nullopt);
        device.store.claim(owner, std::nullopt);
        device.takeSignals();
        QVERIFY(!device.store.create(u"more"_qs));
        QCOMPARE(device.takeSignals(), once);
    }

    void removed() {
        OfflineDevice device;
        const QString id = device.make("x");
        const QString other = device.make("y");
        device.store.assign({chat1}, id);
        device.store.assign({chat2}, other);
        device.takeSignals();
        device.store.remove(id);
        QCOMPARE(device.names(), u"y"_qs);
        QCOMPARE(device.store.document().deleted, (QMap<QString, double>{{id, device.clock.nowMs() + 1}}));
        QVERIFY(!device.assignment(chat1));
        QCOMPARE(device.store.filed(), (QHash<QString, QString>{{chat2, other}}));
        QCOMPARE(device.takeSignals(), u"folders, filed"_qs);
        device.store.remove(id);
        QCOMPARE(device.takeSignals(), QString());
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
        device.store.assign({chat1}, u"unknown"_qs);
        QCOMPARE(device.store.folderFor(chat1), x);
        QCOMPARE(device.takeSignals(), u"filed"_qs);
        device.store.assign({chat1}, x); // a later decision for the same folder
        QCOMPARE(device.takeSignals(), QString());
        QCOMPARE(device.assignment(chat1)->updatedAt, device.clock.nowMs() + 1);
        device.store.assign({chat1, u"chat0"_qs, u"chat3"_qs}, y);
        QStringList chats;
        for (const FolderAssignment& each : device.store.document().assignments)
            chats.append(each.chatId.last(1));
        QCOMPARE(chats.join(QString()), u"0123"_qs);
        QCOMPARE(device.store.folderFor(chat1), y);
        device.store.assign({chat1}, std::nullopt);
        QVERIFY(device.assignment(chat1) && !device.assignment(chat1)->folderId);
        device.takeSignals();
        device.store.unfile({chat1, chat2, u"never filed"_qs});
        QCOMPARE(device.takeSignals(), u"filed"_qs);
        QCOMPARE(device.store.folderFor(chat2), std::nullopt);
        QCOMPARE(device.store.document().assignments.size(), 4);
    }

    void timesNeverGoBack() {
        // Another device's clock was far ahead, and one knew no clock at all.
        OfflineDevice device(R"({"folders":[{"id":"f1","name":"x","order":0,"createdAt":1,"updatedAt":3e12},
                             {"id":"f2","name":"y","order":1,"createdAt":1,"updatedAt":1e300}],
                             "assignments":[{"chatId":"chat1","folderId":"f1","updatedAt":3e12}],"deleted":{}})");
        const QString f1 = u"f1"_qs;
        const QString f2 = u"f2"_qs;
        device.store.unfile({chat1});
        QCOMPARE(device.assignment(chat1)->updatedAt, 3e12 + 1);
        device.store.assign({chat1}, f1);
        QCOMPARE(device.assignment(chat1)->updatedAt, 3e12 + 2);
        device.store.rename(f1, u"new"_qs);
        QCOMPARE(device.store.folders()[0].updatedAt, 3e12 + 1);
        device.store.remove(f1);
        QCOMPARE(device.store.document().deleted.value(f1), 3e12 + 2);
        device.store.rename(f2, u"new"_qs);
        QVERIFY(device.store.folders()[0].updatedAt > 1e300);
    }

    void chatsOfMissingFoldersAreNotFiled() {
        OfflineDevice device(R"({"folders":[{"id":"f1","name":"x","order":0,"createdAt":1,"updatedAt":1}],
        "assignments":[{"chatId":"chat1","folderId":"f1","updatedAt":1},
                       {"chatId":"chat2","folderId":"gone","updatedAt":1}],"deleted":{}})");
        QCOMPARE(device.takeSignals(), u"folders, filed"_qs);
        QCOMPARE(device.store.filed(), (QHash<QString, QString>{{chat1, u"f1"_qs}}));
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

    void expiredDeletionsGoAtLoad() {
        FolderDevice device;
        const double day = 86'400'000;
        const double now = device.clock.nowMs();
        FolderDocument document;
        document.deleted = {{u"old"_qs, now - 366 * day}, {u"recent"_qs, now - 364 * day}};
        device.putFile(file, encodeFolderDocument(document));
        device.store.claim(owner, std::nullopt);
        QCOMPARE(device.store.document().deleted.keys(), QStringList{u"recent"_qs});
        device.store.flush();
        QVERIFY(device.saved() == device.store.document());
    }

    void unchangedIsNotWritten() {
        const QByteArray content = R"( {"folders":[], "other":1} )";
        OfflineDevice device(content);
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
        device.store.claim(u"b/../c"_qs, std::nullopt); // writes what a had not saved yet
        QCOMPARE(device.takeSignals(), u"folders, filed"_qs);
        QVERIFY(device.store.document() == FolderDocument());
        QCOMPARE(device.saved().folders.size(), 1);
        device.make("of b");
        device.store.claim(owner, std::nullopt);
        QCOMPARE(device.names(), u"of a"_qs);
        QCOMPARE(device.store.folderFor(chat1), id);
        const QStringList files = QDir(device.path(QString())).entryList(QDir::Files);
        QCOMPARE(files, (QStringList{file, u"b%2F%2E%2E%2Fc.folders.json"_qs}));
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
        const QStringList kept = QDir(device.path(QString())).entryList({u"*.damaged-*"_qs});
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
        auto blocked = std::make_unique<UnwritableFolder>(device.path({}));
        LogCapture log;
        for (int failures = 1; failures <= 2; ++failures) { // with each change, but not on its own
            device.make("more");
            device.clock.advance(600ms);
            QVERIFY(waitUntil([&] { return log.lines().size() == failures; }));
            QVERIFY2(log.lines().last().startsWith(u"[Teskal] could not save folders: "),
                     qPrintable(log.lines().last()));
            device.clock.advance(1h);
            QCOMPARE(device.clock.pending(), 0u);
        }
        QCOMPARE(device.names(), u"first, more, more"_qs);
        blocked.reset();
        QCOMPARE(device.saved().folders.size(), 1);
        device.store.flush();
        QVERIFY(device.saved() == device.store.document());
        QCOMPARE(log.lines().size(), 2);
    }
};

QTEST_GUILESS_MAIN(TestFolderStore)
#include "TestFolderStore.moc"
