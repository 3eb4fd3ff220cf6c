#include "ComposerTest.h"
#include "SpellChecker.h"
#include "TestFiles.h"
#include "composer/ProseWords.h"

#include <QContextMenuEvent>
#include <QMenu>
#include <QTextBlock>

using namespace teskal::test;

/// What is misspelt is marked in what is seen, and the text knows nothing of it.
class TestComposerSpelling final : public test::ComposerTest {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() {
        writeFile(folder_.filePath(u"en.aff"_qs), "SET UTF-8\nTRY abcdefghijklmnopqrstuvwxyz\n");
        writeFile(folder_.filePath(u"en.dic"_qs), "5\nsome\nwords\nare\nright\nthe\n");
    }

    void init() {
        QFile::remove(folder_.filePath(u".hunspell_en"_qs));
        const DictionaryPlaces places{{folder_.path()}, {u"en"_qs}, folder_.path()};
        checker_ = std::make_unique<SpellChecker>([places] { return places; });
        ComposerTest::init();
        text_->setSpelling(*checker_);
    }

    void cleanup() {
        ComposerTest::cleanup();
        checker_.reset(); // it may still be writing the file that init() removes
    }

    void words_data() {
        // Each row is the line itself.
        const auto row = columns<QString>("found");
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

    void words() {
        const QString line = QString::fromUtf8(QTest::currentDataTag());
        QStringList found;
        for (const WordRange& word : proseWords(line))
            found.append(line.mid(word.start, word.length));
        QTEST(found.join(QLatin1Char(' ')), "found");
    }

    void marks_data() {
        const auto row = columns<QString, QStringList>("text", "expected");
        const QStringList two{u"wrods"_qs, u"rihgt"_qs};
        row("none", "some words are right ", QStringList());
        row("two", "some wrods are rihgt ", two);
        row("in two lines", "some wrods\nare rihgt ", two);
        row("after a wrapped line", u"some words are right "_qs.repeated(5) + u"wrods are rihgt "_qs, two);
        row("around code", "wrods\n```\nint mian\n```\nrihgt `mian` ", two);
        row("code that is open", "wrods rihgt\n~~~ c\nint mian ", two);
    }

    void marks() {
        FETCH(QString, text, QStringList, expected);
        for (const bool dark : {false, true}) {
            theme_.setAppearance(dark ? Appearance::Dark : Appearance::Light);
            composer_->setText(text);
            QTRY_COMPARE(marked(), expected);
        }
    }

    void wordBeingWrittenIsNotJudged() {
        const QStringList one{u"wrods"_qs};
        QSignalSpy layouts(text_, &ComposerTextView::layoutChanged);
        QTest::keyClicks(text_, u"the wrods"_qs);
        QVERIFY(!checker_->isMisspelt(u"wrods"_qs));
        QTRY_VERIFY(checker_->isMisspelt(u"wrods"_qs));
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

    void compositionIsNotJudged() {
        composer_->setText(u"wrods  rihgt the"_qs);
        const QStringList two{u"wrods"_qs, u"rihgt"_qs};
        QTRY_COMPARE(marked(), two);
        QTextCursor cursor = text_->textCursor();
        cursor.setPosition(6);
        text_->setTextCursor(cursor);
        compose(u"msispelt"_qs);
        // The place of the second word is another one on the screen.
        const QImage image = text_->viewport()->grab().toImage();
        const auto* layout = text_->document()->firstBlock().layout();
        const auto line = layout->lineAt(0);
        const auto isMarked = [&](int from, int to) {
            bool found = false;
            for (int x = qCeil(line.cursorToX(from)) + 1; x < qFloor(line.cursorToX(to)) - 1; ++x)
                for (int y = 0; y < 4; ++y)
                    found |= isMark(image.pixel(x, qRound(line.ascent()) + 1 + y));
            return found;
        };
        QVERIFY(isMarked(0, 5) && !isMarked(6, 14) && isMarked(15, 20));
    }

    void menuOffersBetterWords() {
        composer_->setText(u"some wrods are right "_qs);
        QTRY_COMPARE(marked(), QStringList{u"wrods"_qs});
        QMenu* menu = openMenu(7);
        QVERIFY(menu);
        QCOMPARE(menu->actions().value(0)->text(), u"words"_qs);
        menu->actions().value(0)->trigger();
        menu->close();
        QCOMPARE(composer_->text(), u"some words are right "_qs);
        QTRY_COMPARE(marked(), QStringList());
        text_->undo();
        QCOMPARE(composer_->text(), u"some wrods are right "_qs);

        QTRY_VERIFY(!text_->findChild<QMenu*>(u"composerMenu"_qs));
        menu = openMenu(1);
        QVERIFY(menu);
        QVERIFY2(menu->actions().value(0)->text().contains(u"Undo"), "nothing to say of a right word");
        menu->close();

        QTRY_COMPARE(marked(), QStringList{u"wrods"_qs});
        QTRY_VERIFY(!text_->findChild<QMenu*>(u"composerMenu"_qs));
        menu = openMenu(7);
        QVERIFY(menu);
        for (QAction* action : menu->actions())
            if (action->text() == u"Add to Dictionary")
                action->trigger();
        menu->close();
        QCOMPARE(marked(), QStringList());
    }

    void longTextStaysQuick() {
        composer_->setText(u"some wrods\n"_qs.repeated(50000) + u"some wrods are right "_qs);
        QTRY_VERIFY(checker_->isMisspelt(u"wrods"_qs));
        text_->moveCursor(QTextCursor::End);
        int judged = 0;
        for (QTextBlock block = text_->document()->begin(); block.isValid(); block = block.next())
            judged += block.userData() ? 1 : 0;
        QVERIFY2(judged < 100, "only what is seen is looked at");
    }

private:
    [[nodiscard]] bool isMark(QRgb pixel) const {
        const QRgb mark = theme_.ink().danger.rgb();
        return std::abs(qRed(pixel) - qRed(mark)) + std::abs(qGreen(pixel) - qGreen(mark)) +
                   std::abs(qBlue(pixel) - qBlue(mark)) <
               120;
    }

    /// What stands over a mark, between two spaces.
    [[nodiscard]] QStringList marked() const {
        const QImage image = text_->viewport()->grab().toImage();
        QStringList found;
        QTextCursor cursor(text_->document());
        const auto rectAt = [&](int position) {
            cursor.setPosition(position);
            return text_->cursorRect(cursor);
        };
        int start = 0;
        for (const QString& piece : text_->toPlainText().split(QRegularExpression(u"[ \n]"_qs))) {
            const QRect first = rectAt(start);
            const QRect last = rectAt(start + int(piece.size()));
            const int base = first.top() + QFontMetrics(text_->font()).ascent();
            bool isMarked = false;
            for (int y = base + 1; y <= base + 4; ++y)
                for (int x = first.left(); x < last.left(); ++x)
                    isMarked |= image.rect().contains(x, y) && isMark(image.pixel(x, y));
            if (isMarked)
                found.append(piece);
            start += int(piece.size()) + 1;
        }
        return found;
    }

    QMenu* openMenu(int position) {
        QTextCursor cursor(text_->document());
        cursor.setPosition(position);
        const QPoint place = text_->cursorRect(cursor).center();
        QContextMenuEvent event(QContextMenuEvent::Mouse, place, text_->viewport()->mapToGlobal(place));
        QCoreApplication::sendEvent(text_->viewport(), &event);
        QMenu* menu = nullptr;
        const bool isOpen = QTest::qWaitFor([&] {
            menu = text_->findChild<QMenu*>(u"composerMenu"_qs);
            return menu && menu->isVisible();
        });
        return isOpen ? menu : nullptr;
    }

    QTemporaryDir folder_;
    std::unique_ptr<SpellChecker> checker_;
};

QTEST_MAIN(TestComposerSpelling)
#include "TestComposerSpelling.moc"
