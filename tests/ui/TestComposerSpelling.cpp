#include "ComposerTest.h"
#include "SpellChecker.h"
#include "composer/ProseWords.h"

#include <QContextMenuEvent>
#include <QFile>
#include <QMenu>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTextBlock>

using namespace teskal;

namespace {

bool isMark(QRgb pixel, QRgb mark) {
    return std::abs(qRed(pixel) - qRed(mark)) + std::abs(qGreen(pixel) - qGreen(mark)) +
               std::abs(qBlue(pixel) - qBlue(mark)) <
           120;
}

} // namespace

/// What is misspelt is marked in what is seen, and the text knows nothing of it.
class TestComposerSpelling final : public test::ComposerTest {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();
    void words_data();
    void words();
    void marks_data();
    void marks();
    void wordBeingWrittenIsNotJudged();
    void compositionIsNotJudged();
    void menuOffersBetterWords();
    void longTextStaysQuick();

private:
    [[nodiscard]] QStringList marked() const;
    QMenu* openMenu(int position);

    QTemporaryDir folder_;
    std::unique_ptr<SpellChecker> checker_;
};

void TestComposerSpelling::initTestCase() {
    const auto write = [this](const char* name, const QByteArray& bytes) {
        QFile file(folder_.filePath(QLatin1String(name)));
        QVERIFY(file.open(QFile::WriteOnly));
        file.write(bytes);
    };
    write("en.aff", "SET UTF-8\nTRY abcdefghijklmnopqrstuvwxyz\n");
    write("en.dic", "5\nsome\nwords\nare\nright\nthe\n");
}

void TestComposerSpelling::init() {
    QFile::remove(folder_.filePath(QStringLiteral(".hunspell_en")));
    const DictionaryPlaces places{{folder_.path()}, {QStringLiteral("en")}, folder_.path()};
    checker_ = std::make_unique<SpellChecker>([places] { return places; });
    ComposerTest::init();
    text_->setSpelling(*checker_);
}

void TestComposerSpelling::cleanup() {
    ComposerTest::cleanup();
    checker_.reset(); // it may still be writing the file that init() removes
}

/// What stands over a mark, between two spaces.
QStringList TestComposerSpelling::marked() const {
    const QImage image = text_->viewport()->grab().toImage();
    QStringList found;
    QTextCursor cursor(text_->document());
    const auto rectAt = [&](int position) {
        cursor.setPosition(position);
        return text_->cursorRect(cursor);
    };
    int start = 0;
    for (const QString& piece : text_->toPlainText().split(QRegularExpression(QStringLiteral("[ \n]")))) {
        const QRect first = rectAt(start);
        const QRect last = rectAt(start + int(piece.size()));
        const int base = first.top() + QFontMetrics(text_->font()).ascent();
        int count = 0;
        for (int y = base + 1; y <= base + 4; ++y)
            for (int x = first.left(); x < last.left(); ++x)
                count += image.rect().contains(x, y) && isMark(image.pixel(x, y), theme_.ink().danger.rgb());
        if (count > 0)
            found.append(piece);
        start += int(piece.size()) + 1;
    }
    return found;
}

void TestComposerSpelling::words_data() {
    QTest::addColumn<QString>("line");
    QTest::addColumn<QString>("found");
    const auto row = [](const char* line, const char* found) {
        QTest::newRow(line) << QString::fromUtf8(line) << QString::fromUtf8(found);
    };
    row("", "");
    row("Don’t, it's naïve (or well-known): “quoted”.", "Don’t it's naïve or well known quoted");
    row("a I x", "");
    row("call foo_bar() or obj.method in main.cpp", "call or in");
    row("see https://example.org/wrong/path, www.example.org or me@example.org", "see or");
    row("`inline code` outside `open code", "outside");
    row("UTF8 x86 NASA camelCase HTTPServer 3rd --option $HOME /usr/bin", "");
    row("end. Begin: word;word and/or", "end Begin word word");
    row("日本語 слово", "слово");
}

void TestComposerSpelling::words() {
    QFETCH(const QString, line);
    QStringList found;
    for (const WordRange& word : proseWords(line))
        found.append(line.mid(word.start, word.length));
    QTEST(found.join(QLatin1Char(' ')), "found");
}

void TestComposerSpelling::marks_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<QStringList>("expected");
    const QStringList two{QStringLiteral("wrods"), QStringLiteral("rihgt")};
    QTest::newRow("none") << QStringLiteral("some words are right ") << QStringList();
    QTest::newRow("two") << QStringLiteral("some wrods are rihgt ") << two;
    QTest::newRow("in two lines") << QStringLiteral("some wrods\nare rihgt ") << two;
    QTest::newRow("after a wrapped line")
        << QStringLiteral("some words are right ").repeated(5) + QStringLiteral("wrods are rihgt ") << two;
    QTest::newRow("around code") << QStringLiteral("wrods\n```\nint mian\n```\nrihgt `mian` ") << two;
    QTest::newRow("code that is open") << QStringLiteral("wrods rihgt\n~~~ c\nint mian ") << two;
}

void TestComposerSpelling::marks() {
    QFETCH(const QString, text);
    QFETCH(const QStringList, expected);
    for (const bool dark : {false, true}) {
        theme_.setAppearance(dark ? Appearance::Dark : Appearance::Light);
        composer_->setText(text);
        QTRY_COMPARE(marked(), expected);
    }
}

void TestComposerSpelling::wordBeingWrittenIsNotJudged() {
    const QStringList one{QStringLiteral("wrods")};
    QSignalSpy layouts(text_, &ComposerTextView::layoutChanged);
    QTest::keyClicks(text_, QStringLiteral("the wrods"));
    QVERIFY(!checker_->isMisspelt(QStringLiteral("wrods")));
    QTRY_VERIFY(checker_->isMisspelt(QStringLiteral("wrods")));
    QCOMPARE(marked(), QStringList());
    QTest::keyClick(text_, Qt::Key_Space);
    const int steps = text_->document()->availableUndoSteps();
    QCOMPARE(marked(), one);
    QVERIFY2(text_->document()->availableUndoSteps() == steps, "the history knows of no mark");
    QTest::keyClick(text_, Qt::Key_Backspace);
    QCOMPARE(marked(), QStringList());
    QTest::keyClick(text_, Qt::Key_Left);
    QCOMPARE(marked(), one);
    QTest::keyClick(text_, Qt::Key_Right);
    QVERIFY2(marked() == one, "only writing takes the mark away");
    QCOMPARE(layouts.size(), 11); // one for each key that wrote
    checker_.reset();
    QCOMPARE(marked(), QStringList());
}

void TestComposerSpelling::compositionIsNotJudged() {
    composer_->setText(QStringLiteral("wrods  rihgt the"));
    const QStringList two{QStringLiteral("wrods"), QStringLiteral("rihgt")};
    QTRY_COMPARE(marked(), two);
    QTextCursor cursor = text_->textCursor();
    cursor.setPosition(6);
    text_->setTextCursor(cursor);
    compose(QStringLiteral("msispelt"));
    // The place of the second word is another one on the screen.
    const QImage image = text_->viewport()->grab().toImage();
    const auto* layout = text_->document()->firstBlock().layout();
    const auto line = layout->lineAt(0);
    const auto isMarked = [&](int from, int to) {
        int count = 0;
        for (int x = qCeil(line.cursorToX(from)) + 1; x < qFloor(line.cursorToX(to)) - 1; ++x)
            for (int y = 0; y < 4; ++y)
                count += isMark(image.pixel(x, qRound(line.ascent()) + 1 + y), theme_.ink().danger.rgb());
        return count > 0;
    };
    QVERIFY(isMarked(0, 5));
    QVERIFY(!isMarked(6, 14));
    QVERIFY(isMarked(15, 20));
}

QMenu* TestComposerSpelling::openMenu(int position) {
    QTextCursor cursor(text_->document());
    cursor.setPosition(position);
    const QPoint place = text_->cursorRect(cursor).center();
    QContextMenuEvent event(QContextMenuEvent::Mouse, place, text_->viewport()->mapToGlobal(place));
    QCoreApplication::sendEvent(text_->viewport(), &event);
    QMenu* menu = nullptr;
    const bool isOpen = QTest::qWaitFor([&] {
        menu = text_->findChild<QMenu*>(QStringLiteral("composerMenu"));
        return menu && menu->isVisible();
    });
    return isOpen ? menu : nullptr;
}

void TestComposerSpelling::menuOffersBetterWords() {
    composer_->setText(QStringLiteral("some wrods are right "));
    QTRY_COMPARE(marked(), QStringList{QStringLiteral("wrods")});
    QMenu* menu = openMenu(7);
    QVERIFY(menu);
    QCOMPARE(menu->actions().value(0)->text(), QStringLiteral("words"));
    menu->actions().value(0)->trigger();
    menu->close();
    QCOMPARE(composer_->text(), QStringLiteral("some words are right "));
    QTRY_COMPARE(marked(), QStringList());
    text_->undo();
    QCOMPARE(composer_->text(), QStringLiteral("some wrods are right "));

    QTRY_VERIFY(!text_->findChild<QMenu*>(QStringLiteral("composerMenu")));
    menu = openMenu(1);
    QVERIFY(menu);
    QVERIFY2(menu->actions().value(0)->text().contains(QLatin1String("Undo")),
             "nothing to say of a right word");
    menu->close();

    QTRY_COMPARE(marked(), QStringList{QStringLiteral("wrods")});
    QTRY_VERIFY(!text_->findChild<QMenu*>(QStringLiteral("composerMenu")));
    menu = openMenu(7);
    QVERIFY(menu);
    for (QAction* action : menu->actions()) {
        if (action->text() == QLatin1String("Add to Dictionary"))
            action->trigger();
    }
    menu->close();
    QCOMPARE(marked(), QStringList());
}

void TestComposerSpelling::longTextStaysQuick() {
    composer_->setText(QStringLiteral("some wrods\n").repeated(50000) +
                       QStringLiteral("some wrods are right "));
    QTRY_VERIFY(checker_->isMisspelt(QStringLiteral("wrods")));
    text_->moveCursor(QTextCursor::End);
    int judged = 0;
    for (QTextBlock block = text_->document()->begin(); block.isValid(); block = block.next())
        judged += block.userData() ? 1 : 0;
    QVERIFY2(judged < 100, "only what is seen is looked at");
}

QTEST_MAIN(TestComposerSpelling)
#include "TestComposerSpelling.moc"
