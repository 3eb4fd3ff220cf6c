#include "AccountFileName.h"
#include "AtomicFile.h"
#include "Columns.h"
#include "LogCapture.h"
#include "TestFiles.h"

#include <sys/stat.h>

using namespace teskal::test;

namespace {

int modeOf(const QString& path) {
    struct stat status {};
    return stat(QFile::encodeName(path).constData(), &status) == 0 ? int(status.st_mode & 0777) : -1;
}

} // namespace

/// Names and contents of the files that hold what is private.
class TestPrivateFiles final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void accountNames_data() {
        const auto row = columns<QString, QString>("owner", "name");
        row("letters and digits", "aZ09", "aZ09");
        row("signs", "a|b.c", "a%7Cb%2Ec");
        row("unreserved signs", "-_~.", "%2D%5F%7E%2E");
        row("way out", "../x/y", "%2E%2E%2Fx%2Fy");
        row("letters beyond ASCII", "é😀", "%C3%A9%F0%9F%98%80");
        row("empty", QString(), "account");
        row("longest", QString(200, u'a'), QString(200, u'a'));
        row("too long", QString(201, u'a'),
            QString(120, u'a') + u"-a92efd82109373e58f9a2056dee01e807e216ce6075f7051207c0a9f7d666e50"_qs);
    }
    void accountNames() {
        QFETCH(const QString, owner);
        QTEST(accountFileName(owner), "name");
    }

    void newFileAndFoldersArePrivate() {
        const QString path = folder_.filePath(u"Teskal/Chats/a.json"_qs);
        writeFileAtomically(path, "[]");
        QCOMPARE(contentOf(path), "[]");
        QCOMPARE(modeOf(path), 0600);
        QCOMPARE(modeOf(folder_.filePath(u"Teskal/Chats"_qs)), 0700);
        QCOMPARE(modeOf(folder_.filePath(u"Teskal"_qs)), 0700);
    }

    void replacedAsAWhole() {
        const QString path = folder_.filePath(u"replaced.json"_qs);
        writeFile(path, "old");
        QFile::setPermissions(path, QFile::ReadOwner | QFile::ReadGroup | QFile::ReadOther);
        QFile reader(path);
        QVERIFY(reader.open(QFile::ReadOnly));
        writeFileAtomically(path, "new and longer");
        QCOMPARE(reader.readAll(), "old"); // who has it open sees no half of the new one
        QCOMPARE(contentOf(path), "new and longer");
        QCOMPARE(modeOf(path), 0600);
        writeFileAtomically(path, "");
        QCOMPARE(contentOf(path), "");
    }

    void failureKeepsTheOldFile() {
        const QString asFile = folder_.filePath(u"file"_qs);
        writeFile(asFile, "old");
        QVERIFY_THROWS_EXCEPTION(FileError, writeFileAtomically(asFile + u"/below/a.json"_qs, "new"));
        QCOMPARE(contentOf(asFile), "old");
        const QString asFolder = folder_.filePath(u"folder"_qs);
        QVERIFY(QDir().mkpath(asFolder + u"/kept"_qs));
        QVERIFY_THROWS_EXCEPTION(FileError, writeFileAtomically(asFolder, "new"));
        QVERIFY(QDir(asFolder + u"/kept"_qs).exists());
        QCOMPARE(QDir(folder_.path()).entryList({u"*.??????"_qs}, QDir::Files), QStringList());
    }

    void damagedFileIsKept() {
        const QString path = folder_.filePath(u"damaged.json"_qs);
        writeFile(path, "{");
        LogCapture log;
        setDamagedFileAside(path, 1'700'000'000'123.0);
        QCOMPARE(contentOf(path + u".damaged-20231114-221320-123"_qs), "{");
        QCOMPARE(log.lines(), QStringList{u"[Teskal] a file could not be read; it is kept as "
                                          "damaged.json.damaged-20231114-221320-123"_qs});
        QVERIFY_THROWS_EXCEPTION(FileError, setDamagedFileAside(folder_.filePath(u"absent"_qs), 0));
    }

private:
    QTemporaryDir folder_;
};

QTEST_GUILESS_MAIN(TestPrivateFiles)
#include "TestPrivateFiles.moc"
