#include "SpellChecker.h"
#include "WaitUntil.h"

#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <optional>

using namespace teskal;
using namespace teskal::test;

namespace {

void write(const QString& path, const QByteArray& bytes) {
    QFile file(path);
    if (!file.open(QFile::WriteOnly) || file.write(bytes) != bytes.size())
        qFatal("cannot write a dictionary");
}

QByteArray read(const QString& path) {
    QFile file(path);
    return file.open(QFile::ReadOnly) ? file.readAll() : QByteArray();
}

/// A user with some dictionaries.
struct Scene {
    QTemporaryDir folder;
    DictionaryPlaces places{
        {folder.filePath(QStringLiteral("own")), folder.filePath(QStringLiteral("shared"))},
        {QStringLiteral("en-GB"), QStringLiteral("en")},
        folder.path()};
    std::optional<SpellChecker> checker;

    Scene() {
        QDir(folder.path()).mkdir(QStringLiteral("own"));
        QDir(folder.path()).mkdir(QStringLiteral("shared"));
    }
    /// \a words are in the dictionary's encoding.
    void install(const char* name, const QByteArray& words, const QByteArray& encoding = "UTF-8") {
        const QString path = folder.filePath(QLatin1String(name));
        write(path + QStringLiteral(".aff"), "SET " + encoding + "\nTRY aeilnorst\nSFX S Y 1\nSFX S 0 s .\n");
        write(path + QStringLiteral(".dic"), QByteArray::number(words.count('\n')) + '\n' + words);
    }
    SpellChecker& start() {
        return checker.emplace([places = places] { return places; });
    }
    /// The verdict once it is known.
    bool isMisspelt(const QString& word) {
        checker->isMisspelt(word);
        suggestions(word); // comes after the verdict
        return checker->isMisspelt(word);
    }
    QStringList suggestions(const QString& word) {
        runQueued();
        std::optional<QStringList> found;
        checker->suggest(word, [&found](const QStringList& words) { found = words; });
        if (!waitUntil([&] { return found.has_value(); }))
            qFatal("no answer");
        return *found;
    }
};

} // namespace

class TestSpellChecker final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void judges_data();
    void judges();
    void dictionaries_data();
    void dictionaries();
    void answersLater();
    void ownWords();
    void goesWhileItIsAsked();
};

void TestSpellChecker::judges_data() {
    QTest::addColumn<QByteArray>("encoding");
    QTest::addColumn<QString>("language");
    QTest::addColumn<QByteArray>("words");
    QTest::addColumn<QStringList>("right");
    QTest::addColumn<QStringList>("wrong");
    const QByteArray latin = QByteArrayLiteral("caf\xe9\nuser's\nword/S\n");
    QTest::newRow("Latin 1") << QByteArray("ISO8859-1") << QStringLiteral("en") << latin
                             << QStringList{QStringLiteral("café"), QStringLiteral("Words"),
                                            QStringLiteral("user’s"), QStringLiteral("слово"),
                                            QStringLiteral("言葉")}
                             << QStringList{QStringLiteral("cafe"), QStringLiteral("wrods"),
                                            QStringLiteral("word’s")};
    QTest::newRow("Unicode") << QByteArray("UTF-8") << QStringLiteral("en") << QByteArray("café\nŁódź\n")
                             << QStringList{QStringLiteral("café"), QStringLiteral("Łódź"),
                                            QStringLiteral("слово")}
                             << QStringList{QStringLiteral("Lodz"), QStringLiteral("ł")};
    QTest::newRow("Cyrillic, a name of Windows")
        << QByteArray("microsoft-cp1251") << QStringLiteral("ru")
        << QByteArrayLiteral("\xf1\xeb\xee\xe2\xee\n")
        << QStringList{QStringLiteral("слово"), QStringLiteral("word"), QStringLiteral("Слово")}
        << QStringList{QStringLiteral("солво")};
    QTest::newRow("an encoding that nobody knows")
        << QByteArray("NO-SUCH") << QStringLiteral("en") << QByteArray("word\n")
        << QStringList{QStringLiteral("wrod")} << QStringList();
    QTest::newRow("of any length") << QByteArray("UTF-8") << QStringLiteral("en") << QByteArray("word\n")
                                   << QStringList{QStringLiteral("x").repeated(5000)} << QStringList();
}

void TestSpellChecker::judges() {
    QFETCH(const QByteArray, encoding);
    QFETCH(const QString, language);
    QFETCH(const QByteArray, words);
    QFETCH(const QStringList, right);
    QFETCH(const QStringList, wrong);
    Scene scene;
    scene.install(qPrintable(QStringLiteral("own/") + language), words, encoding);
    scene.places.languages = {language};
    scene.start();
    for (const QString& word : right)
        QVERIFY2(!scene.isMisspelt(word), qPrintable(word));
    for (const QString& word : wrong)
        QVERIFY2(scene.isMisspelt(word), qPrintable(word));
}

void TestSpellChecker::dictionaries_data() {
    QTest::addColumn<QStringList>("installed"); ///< each with its name for a word
    QTest::addColumn<QStringList>("languages");
    QTest::addColumn<QStringList>("right");
    const auto list = [](const char* names) {
        return QString::fromLatin1(names).split(QLatin1Char(' '), Qt::SkipEmptyParts);
    };
    const auto row = [&](const char* name, const char* installed, const char* languages, const char* right) {
        QTest::newRow(name) << list(installed) << list(languages) << list(right);
    };
    row("none", "", "en-GB en", "enus engb dede");
    row("none of the language", "shared/de_DE", "en-GB en", "enus engb dede");
    row("of the country", "shared/en_US shared/en_GB", "en-GB en", "engb");
    row("the user's own first", "shared/en_GB own/en_GB", "en-GB en", "own");
    row("of another country", "shared/en_AU shared/en_US", "en-GB en en-Latn-GB", "enus");
    row("several languages", "shared/en_US shared/de_DE", "de-AT de en", "dede enus");
    row("no language", "shared/en_US", "C", "enus engb dede");
}

void TestSpellChecker::dictionaries() {
    QFETCH(const QStringList, installed);
    QFETCH(const QStringList, languages);
    QFETCH(const QStringList, right);
    Scene scene;
    for (const QString& name : installed) {
        const QString word = name.section(QLatin1Char('/'), 1).remove(QLatin1Char('_')).toLower();
        scene.install(qPrintable(name),
                      (name.startsWith(QLatin1String("own")) ? "own" : word.toLatin1()) + '\n');
    }
    scene.places.languages = languages;
    scene.start();
    for (const char* word : {"enus", "engb", "dede", "own"}) {
        const bool isOff = right.size() == 3;
        QCOMPARE(scene.isMisspelt(QLatin1String(word)), !isOff && !right.contains(QLatin1String(word)));
    }
}

/// Nothing is read before it is needed, nor by whom asks.
void TestSpellChecker::answersLater() {
    Scene scene;
    SpellChecker& checker = scene.start();
    runQueued();
    scene.install("own/en_GB", "right\nwords\n"); // after it was made
    QSignalSpy judged(&checker, &SpellChecker::judged);
    for (const char* word : {"right", "worng", "wrods", "worng"})
        QVERIFY(!checker.isMisspelt(QLatin1String(word)));
    QVERIFY(waitUntil([&] { return !judged.isEmpty(); }));
    QCOMPARE(judged.size(), 1);
    QVERIFY(checker.isMisspelt(QStringLiteral("worng")) && checker.isMisspelt(QStringLiteral("wrods")));
    QCOMPARE(scene.suggestions(QStringLiteral("wrods")), QStringList{QStringLiteral("words")});
    QCOMPARE(scene.suggestions(QStringLiteral("qqqqqq")), QStringList());
}

void TestSpellChecker::ownWords() {
    Scene scene;
    scene.install("own/en_GB", "word/S\nbad\n");
    const QString file = scene.folder.filePath(QStringLiteral(".hunspell_en_GB"));
    SpellChecker& checker = scene.start();
    QVERIFY(scene.isMisspelt(QStringLiteral("Müller")));
    QSignalSpy judged(&checker, &SpellChecker::judged);
    checker.add(QStringLiteral("Müller"));
    QCOMPARE(judged.size(), 1);
    QVERIFY(!scene.isMisspelt(QStringLiteral("Müller")));
    QCOMPARE(read(file), QByteArray("Müller\n"));
    QCOMPARE(QFile::permissions(file) & (QFile::ReadGroup | QFile::ReadOther | QFile::WriteOther),
             QFile::Permissions());

    write(file, "Müller\n*bad\nthing/word\nlast"); // as other programs may leave it
    SpellChecker& next = scene.start();
    QVERIFY(!scene.isMisspelt(QStringLiteral("Müller")) && !scene.isMisspelt(QStringLiteral("things")));
    QVERIFY(scene.isMisspelt(QStringLiteral("bad")) && !scene.isMisspelt(QStringLiteral("last")));
    next.add(QStringLiteral("more"));
    QVERIFY(!scene.isMisspelt(QStringLiteral("more")));
    QCOMPARE(read(file), QByteArray("Müller\n*bad\nthing/word\nlast\nmore\n"));
}

void TestSpellChecker::goesWhileItIsAsked() {
    Scene scene;
    scene.install("own/en_GB", "word\n");
    SpellChecker& checker = scene.start();
    for (int number = 0; number < 100; ++number)
        checker.isMisspelt(QStringLiteral("word") + QChar('a' + number % 26));
    runQueued();
    checker.suggest(QStringLiteral("wrod"), [](const QStringList&) { QFAIL("nobody waits"); });
    scene.checker.reset();
    runQueued();
}

QTEST_GUILESS_MAIN(TestSpellChecker)
#include "TestSpellChecker.moc"
