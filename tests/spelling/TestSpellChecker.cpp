#include "Columns.h"
#include "SpellChecker.h"
#include "TestFiles.h"

#include <optional>

using namespace teskal::test;

namespace {

/// A user with some dictionaries.
struct Scene {
    QTemporaryDir folder;
    DictionaryPlaces places{
        {folder.filePath(u"own"_qs), folder.filePath(u"shared"_qs)}, {u"en-GB"_qs, u"en"_qs}, folder.path()};
    std::optional<SpellChecker> checker;

    /// \a words are in the dictionary's encoding.
    void install(const char* name, const QByteArray& words, const QByteArray& encoding = "UTF-8") {
        const QString path = folder.filePath(QLatin1String(name));
        writeFile(path + u".aff"_qs, "SET " + encoding + "\nTRY aeilnorst\nSFX S Y 1\nSFX S 0 s .\n");
        writeFile(path + u".dic"_qs, QByteArray::number(words.count('\n')) + '\n' + words);
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
    void judges_data() {
        const auto row = columns<QByteArray, QString, QByteArray, QString, QString>(
            "encoding", "language", "words", "right", "wrong");
        const QByteArray latin = QByteArrayLiteral("caf\xe9\nuser's\nword/S\n");
        row("Latin 1", "ISO8859-1", "en", latin, "café Words user’s слово 言葉", "cafe wrods word’s");
        row("Unicode", "UTF-8", "en", "café\nŁódź\n", "café Łódź слово", "Lodz ł");
        row("Cyrillic, a name of Windows", "microsoft-cp1251", "ru", "\xf1\xeb\xee\xe2\xee\n",
            "слово word Слово", "солво");
        row("an encoding that nobody knows", "NO-SUCH", "en", "word\n", "wrod");
        row("of any length", "UTF-8", "en", "word\n", u"x"_qs.repeated(5000));
    }

    void judges() {
        FETCH(QByteArray, encoding, QString, language, QByteArray, words, QString, right, QString, wrong);
        Scene scene;
        scene.install(qPrintable(u"own/"_qs + language), words, encoding);
        scene.places.languages = {language};
        scene.start();
        for (const QString& word : right.split(u' '))
            QVERIFY2(!scene.isMisspelt(word), qPrintable(word));
        for (const QString& word : wrong.split(u' ', Qt::SkipEmptyParts))
            QVERIFY2(scene.isMisspelt(word), qPrintable(word));
    }

    void dictionaries_data() {
        // installed: each with its name for a word
        const auto row = columns<QString, QString, QString>("installed", "languages", "right");
        row("none", "", "en-GB en", "all");
        row("none of the language", "shared/de_DE", "en-GB en", "all");
        row("of the country", "shared/en_US shared/en_GB", "en-GB en", "engb");
        row("the user's own first", "shared/en_GB own/en_GB", "en-GB en", "own");
        row("of another country", "shared/en_AU shared/en_US", "en-GB en en-Latn-GB", "enus");
        row("several languages", "shared/en_US shared/de_DE", "de-AT de en", "dede enus");
        row("no language", "shared/en_US", "C", "all");
    }

    void dictionaries() {
        FETCH(QString, installed, QString, languages, QString, right);
        Scene scene;
        for (const QString& name : installed.split(u' ', Qt::SkipEmptyParts)) {
            const QString word = name.section(QLatin1Char('/'), 1).remove(QLatin1Char('_')).toLower();
            scene.install(qPrintable(name), (name.startsWith(u"own") ? "own" : word.toLatin1()) + '\n');
        }
        scene.places.languages = languages.split(u' ');
        scene.start();
        for (const QString& word : {u"enus"_qs, u"engb"_qs, u"dede"_qs, u"own"_qs})
            QCOMPARE(scene.isMisspelt(word), right != u"all" && !right.split(u' ').contains(word));
    }

    /// Nothing is read before it is needed, nor by whom asks.
    void answersLater() {
        Scene scene;
        SpellChecker& checker = scene.start();
        runQueued();
        scene.install("own/en_GB", "right\nwords\n"); // after it was made
        QSignalSpy judged(&checker, &SpellChecker::judged);
        for (const char* word : {"right", "worng", "wrods", "worng"})
            QVERIFY(!checker.isMisspelt(QLatin1String(word)));
        QVERIFY(waitUntil([&] { return !judged.isEmpty(); }));
        QCOMPARE(judged.size(), 1);
        QVERIFY(checker.isMisspelt(u"worng"_qs) && checker.isMisspelt(u"wrods"_qs));
        QCOMPARE(scene.suggestions(u"wrods"_qs), QStringList{u"words"_qs});
        QCOMPARE(scene.suggestions(u"qqqqqq"_qs), QStringList());
    }

    void ownWords() {
        Scene scene;
        scene.install("own/en_GB", "word/S\nbad\n");
        const QString file = scene.folder.filePath(u".hunspell_en_GB"_qs);
        SpellChecker& checker = scene.start();
        QVERIFY(scene.isMisspelt(u"Müller"_qs));
        QSignalSpy judged(&checker, &SpellChecker::judged);
        checker.add(u"Müller"_qs);
        QCOMPARE(judged.size(), 1);
        QVERIFY(!scene.isMisspelt(u"Müller"_qs));
        QCOMPARE(contentOf(file), QByteArray("Müller\n"));
        QCOMPARE(QFile::permissions(file) & (QFile::ReadGroup | QFile::ReadOther | QFile::WriteOther),
                 QFile::Permissions());

        writeFile(file, "Müller\n*bad\nthing/word\nlast"); // as other programs may leave it
        SpellChecker& next = scene.start();
        QVERIFY(!scene.isMisspelt(u"Müller"_qs) && !scene.isMisspelt(u"things"_qs));
        QVERIFY(scene.isMisspelt(u"bad"_qs) && !scene.isMisspelt(u"last"_qs));
        next.add(u"more"_qs);
        QVERIFY(!scene.isMisspelt(u"more"_qs));
        QCOMPARE(contentOf(file), QByteArray("Müller\n*bad\nthing/word\nlast\nmore\n"));
    }

    void goesWhileItIsAsked() {
        Scene scene;
        scene.install("own/en_GB", "word\n");
        SpellChecker& checker = scene.start();
        for (int number = 0; number < 100; ++number)
            checker.isMisspelt(u"word"_qs + QChar('a' + number % 26));
        runQueued();
        checker.suggest(u"wrod"_qs, [](const QStringList&) { QFAIL("nobody waits"); });
        scene.checker.reset();
        runQueued();
    }
};

QTEST_GUILESS_MAIN(TestSpellChecker)
#include "TestSpellChecker.moc"
