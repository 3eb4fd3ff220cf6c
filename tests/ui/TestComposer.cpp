#include "ComposerTest.h"

#include <QClipboard>
#include <QMimeData>
#include <QScrollBar>
#include <QTextBlock>

#include <ctime>

using namespace teskal::test;

class TestComposer final : public test::ComposerTest {
    Q_OBJECT

private Q_SLOTS:
    void returnKeys_data() {
        const auto row = columns<int, Qt::KeyboardModifiers, bool>("key", "modifiers", "sends");
        using Modifiers = Qt::KeyboardModifiers;
        row("Return", Qt::Key_Return, Qt::NoModifier, true);
        row("keypad Enter", Qt::Key_Enter, Qt::KeypadModifier, true);
        row("Ctrl+Return", Qt::Key_Return, Qt::ControlModifier, true);
        row("Ctrl+Enter", Qt::Key_Enter, Modifiers(Qt::ControlModifier) | Qt::KeypadModifier, true);
        row("Shift+Return", Qt::Key_Return, Qt::ShiftModifier, false);
        row("Shift+Enter", Qt::Key_Enter, Modifiers(Qt::ShiftModifier) | Qt::KeypadModifier, false);
        row("Alt+Return", Qt::Key_Return, Qt::AltModifier, false);
        row("Alt+Enter", Qt::Key_Enter, Modifiers(Qt::AltModifier) | Qt::KeypadModifier, false);
        row("Meta+Return", Qt::Key_Return, Qt::MetaModifier, false);
        row("Meta+Enter", Qt::Key_Enter, Modifiers(Qt::MetaModifier) | Qt::KeypadModifier, false);
        row("Ctrl+Shift+Return", Qt::Key_Return, Modifiers(Qt::ControlModifier) | Qt::ShiftModifier, false);
    }

    void returnKeys() {
        FETCH(int, key, Qt::KeyboardModifiers, modifiers, bool, sends);
        QSignalSpy sent(composer_.get(), &ComposerView::sendRequested);
        QTest::keyClicks(text_, u"ab"_qs);
        QTest::keyClick(text_, Qt::Key_Left);
        QTest::keyClick(text_, static_cast<Qt::Key>(key), modifiers);
        QCOMPARE(sent.count(), sends ? 1 : 0);
        QCOMPARE(composer_->text(), sends ? u"ab"_qs : u"a\nb"_qs);
    }

    void sendingRule_data() {
        const auto row = columns<QString, bool, bool>("draft", "busy", "possible");
        row("empty", QString(), false, false);
        row("white space", " \n\t\u00a0", false, false);
        row("text", " a ", false, true);
        row("answering", "a", true, false);
    }

    void sendingRule() {
        FETCH(QString, draft, bool, busy, bool, possible);
        composer_->setBusy(busy);
        composer_->setText(draft);
        const QString before = composer_->text();
        QSignalSpy sent(composer_.get(), &ComposerView::sendRequested);
        QCOMPARE(button("sendButton")->isEnabled(), possible);
        QTest::keyClick(text_, Qt::Key_Return);
        QTest::mouseClick(button("sendButton"), Qt::LeftButton);
        QCOMPARE(sent.count(), possible ? 2 : 0);
        QCOMPARE(composer_->text(), before);
        const QString reason = u"Teskal is answering…"_qs;
        QCOMPARE(text_->placeholderText(), busy ? reason : u"Ask anything"_qs);
        QCOMPARE(button("sendButton")->accessibleDescription(), busy ? reason : QString());
    }

    void focusFollowsWhatIsDone_data() {
        columns<QString, bool>("name", "byKeyboard");
        for (const char* name : {"sendButton", "dictateButton"}) {
            QTest::addRow("click on %s", name) << QString::fromLatin1(name) << false;
            QTest::addRow("key on %s", name) << QString::fromLatin1(name) << true;
        }
    }

    /// Wherever the keyboard was, it is where the user goes on.
    void focusFollowsWhatIsDone() {
        FETCH(QString, name, bool, byKeyboard);
        auto* pressed = composer_->findChild<QAbstractButton*>(name);
        // As the model does.
        connect(composer_.get(), &ComposerView::sendRequested, this, [this] { composer_->setText({}); });
        connect(composer_.get(), &ComposerView::voiceToggled, this,
                [this] { composer_->setVoicePhase(VoicePhase::Recording); });
        composer_->setText(u"words"_qs);
        pressed->setFocus(Qt::TabFocusReason);
        if (byKeyboard) {
            press(Qt::Key_Space);
        } else {
            pressed->clearFocus();
            QVERIFY(!QApplication::focusWidget());
            QTest::mouseClick(pressed, Qt::LeftButton);
        }
        QWidget* const expected =
            name == u"sendButton" ? static_cast<QWidget*>(text_) : button("useRecordingButton");
        QCOMPARE(QApplication::focusWidget(), expected);
    }

    void returnDuringCompositionCommits() {
        QSignalSpy sent(composer_.get(), &ComposerView::sendRequested);
        QSignalSpy changed(composer_.get(), &ComposerView::textChanged);
        QTest::keyClicks(text_, u"x "_qs);
        changed.clear();
        compose(u"にほ"_qs);
        QVERIFY(text_->isComposing());
        QCOMPARE(composer_->text(), u"x "_qs);
        QCOMPARE(changed.count(), 0);
        QString expected = composer_->text();
        for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Enter}) {
            for (const Qt::KeyboardModifier modifier :
                 {Qt::NoModifier, Qt::ShiftModifier, Qt::ControlModifier, Qt::AltModifier,
                  Qt::MetaModifier}) {
                compose(u"にほ"_qs);
                QTest::keyClick(text_, key, modifier);
                QCOMPARE(sent.count(), 0);
                QVERIFY(!text_->isComposing());
                expected += u"にほ"_qs;
                QCOMPARE(composer_->text(), expected);
            }
        }
        QTest::keyClick(text_, Qt::Key_Return);
        QCOMPARE(sent.count(), 1);
    }

    void sendClickCommitsCompositionFirst() {
        QString sentText;
        connect(composer_.get(), &ComposerView::sendRequested, this, [&] { sentText = composer_->text(); });
        compose(u"日本"_qs);
        QVERIFY2(button("sendButton")->isEnabled(), "what is being composed is about to be text");
        QTest::mouseClick(button("sendButton"), Qt::LeftButton);
        QCOMPARE(sentText, u"日本"_qs);
    }

    void cancelledCompositionLeavesNothing() {
        compose(u"に"_qs);
        compose({});
        QVERIFY(!text_->isComposing() && !button("sendButton")->isEnabled());
        compose(u"に"_qs);
        compose({}, u"二"_qs);
        QCOMPARE(composer_->text(), u"二"_qs);
        QVERIFY(button("sendButton")->isEnabled());
    }

    void heightStaysInBounds_data() {
        const auto row = columns<int, bool, int, int>("lines", "large", "least", "most");
        row("empty", 0, false, 22, 22);
        row("empty, large", 0, true, 44, 44);
        row("one line, large", 1, true, 44, 44);
        row("five lines", 5, false, 80, 140);
        row("five lines, large", 5, true, 80, 140);
        row("forty lines", 40, false, 240, 240);
        row("a hundred thousand lines", 100000, true, 240, 240);
    }

    void heightStaysInBounds() {
        FETCH(int, lines, bool, large, int, least, int, most);
        composer_->setLarge(large);
        composer_->setText(QStringList(lines, u"line"_qs).join(QLatin1Char('\n')));
        QVERIFY2(text_->height() >= least && text_->height() <= most,
                 qPrintable(QString::number(text_->height())));
        composer_->setText({});
        QCOMPARE(text_->height(), large ? 44 : 22);
    }

    void heightFollowsEveryLine() {
        QSignalSpy heights(composer_.get(), &ComposerView::cardHeightChanged);
        QSignalSpy layouts(text_, &ComposerTextView::layoutChanged);
        QTest::keyClicks(text_, u"some words that fit"_qs);
        QCOMPARE(layouts.count(), 19);
        QCOMPARE(heights.count(), 0);
        for (int line = 1; line <= 4; ++line) {
            const int before = text_->height();
            QTest::keyClick(text_, Qt::Key_Return, Qt::ShiftModifier);
            QCOMPARE(heights.count(), line);
            QCoreApplication::processEvents();
            QCOMPARE(layouts.count(), 19 + line);
            QVERIFY(text_->height() > before);
        }
        QTest::keyClick(text_, Qt::Key_Backspace);
        QCOMPARE(heights.count(), 5);
        QCoreApplication::sendPostedEvents();
        QCoreApplication::processEvents();
        QVERIFY2(heights.count() == 5 && layouts.count() == 24, "a new height leads to no further one");
    }

    void heightFollowsTheWidth() {
        composer_->setText(u"word "_qs.repeated(60));
        const int wide = text_->height();
        composer_->resize(260, 200);
        QTRY_VERIFY(text_->height() > wide);
        composer_->resize(500, 200);
        QTRY_COMPARE(text_->height(), wide);
    }

    void paste_data() {
        const auto row = columns<QString, QString, QStringList, bool, QString, QStringList, int>(
            "plain", "html", "links", "image", "text", "files", "images");
        const QString none;
        const QString file = u"file:///tmp/a.png"_qs;
        const QString other = u"file:///tmp/b%20c.pdf"_qs;
        const QString web = u"https://example.org/a.png"_qs;
        row("text", u"a\nb"_qs, none, {}, false, u"a\nb"_qs, {}, 0);
        row("html with text", u"bold"_qs, u"<b>other</b>"_qs, {}, false, u"bold"_qs, {}, 0);
        row("html alone", none, u"<h1>Head</h1><p>a &amp; <img src=x>b</p>"_qs, {}, false, u"Head\na & b"_qs,
            {}, 0);
        row("files", none, none, {file, other}, false, none, {file, other}, 0);
        row("files with their paths", u"/tmp/a.png"_qs, none, {file}, true, none, {file}, 0);
        row("a file beside a link", none, none, {web, other}, false, none, {other}, 0);
        row("a link", none, none, {web}, false, web, {}, 0);
        row("image", none, none, {}, true, none, {}, 1);
        row("image from a page", none, u"<img src=x>"_qs, {}, true, none, {}, 1);
        row("image with words", u"1\t2"_qs, u"<td>1</td>"_qs, {}, true, none, {}, 1);
    }

    void paste() {
        FETCH(QString, plain, QString, html, QStringList, links, bool, image);
        auto* data = new QMimeData;
        if (!plain.isEmpty())
            data->setText(plain);
        if (!html.isEmpty())
            data->setHtml(html);
        if (!links.isEmpty())
            data->setUrls(QUrl::fromStringList(links));
        if (image)
            data->setImageData(QImage(3, 2, QImage::Format_RGB32));
        QGuiApplication::clipboard()->setMimeData(data);
        QStringList files;
        QList<QImage> images;
        connect(composer_.get(), &ComposerView::filesPasted, this,
                [&](const QList<QUrl>& urls) { files = QUrl::toStringList(urls, QUrl::FullyEncoded); });
        connect(composer_.get(), &ComposerView::imagePasted, this,
                [&](const QImage& pasted) { images.append(pasted); });
        text_->paste();
        QTEST(composer_->text(), "text");
        QTEST(files, "files");
        QTEST(int(images.size()), "images");
        QVERIFY(images.isEmpty() || images.first().size() == QSize(3, 2));
        QVERIFY2(text_->textCursor().charFormat().fontWeight() <= QFont::Normal, "formatting is dropped");
        if (image && !plain.isEmpty() && links.isEmpty()) {
            QTest::keyClick(text_, Qt::Key_V, Qt::ControlModifier | Qt::ShiftModifier);
            QCOMPARE(composer_->text(), plain);
        }
    }

    void fiveMegabytesDoNotFreeze_data() {
        rows<QString>(
            "text",
            {{"lines", u"some eighty characters of a line that is like any other\n"_qs.repeated(90000)},
             {"one line of words", u"word and "_qs.repeated(560000)},
             {"one word", u"x"_qs.repeated(5000000)},
             {"one line of pairs", u"\U0001F600"_qs.repeated(2500000)}});
    }

    void fiveMegabytesDoNotFreeze() {
        QFETCH(const QString, text);
        QGuiApplication::clipboard()->setText(text);
        QTest::keyClicks(text_, u"ab"_qs);
        QTest::keyClick(text_, Qt::Key_Left);
        const std::clock_t begin = std::clock();
        text_->paste();
        QTest::keyClick(text_, Qt::Key_Z);
        QTest::keyClick(text_, Qt::Key_Backspace);
        QCoreApplication::processEvents();
        // Laid out as one block, a line of this length takes this field a minute and more.
        const double seconds = double(std::clock() - begin) / CLOCKS_PER_SEC;
        QVERIFY2(seconds < 5, qPrintable(QString::number(seconds)));
        QVERIFY2(composer_->text() == QLatin1Char('a') + text + QLatin1Char('b'), "every letter is there");
        QCOMPARE(text_->height(), 240);
        text_->selectAll();
        text_->copy();
        QVERIFY(QGuiApplication::clipboard()->text() == composer_->text());
    }

    void linesInsideALongLineArePartedAsEntered() {
        const QString line = u"word and "_qs.repeated(1000);
        const QString before = u"head\n"_qs + line + u"\nfoot"_qs;
        for (const char* end : {"\n", "\r\n", "\r", "\u2029"}) {
            composer_->setText({});
            QGuiApplication::clipboard()->setText(
                QString(before).replace(QLatin1Char('\n'), QString::fromUtf8(end)));
            text_->paste();
            QVERIFY2(composer_->text() == before, end);
        }
        QTextCursor cursor = text_->textCursor();
        cursor.setPosition(4500); // in a block that goes on with the line
        text_->setTextCursor(cursor);
        press(Qt::Key_Return, Qt::ShiftModifier);
        QGuiApplication::clipboard()->setText(u"1\r2"_qs);
        text_->paste();
        const QString after = composer_->text();
        QCOMPARE(after.count(QLatin1Char('\n')), 4);
        QVERIFY(after.contains(u"\n1\n2"));
        text_->undo();
        text_->undo();
        QVERIFY(composer_->text() == before);
    }

    void draftsHaveHistoriesOfTheirOwn() {
        QSignalSpy changed(composer_.get(), &ComposerView::textChanged);
        const QString none;
        const QString a = u"a"_qs;
        const QString b = u"b"_qs;
        QTest::keyClicks(text_, u"for the first"_qs);
        composer_->setText(none); // as it is when it is sent
        text_->undo();
        QCOMPARE(composer_->text(), u"for the first"_qs);
        changed.clear();
        composer_->renameDraft(none, a);
        composer_->showDraft(b, none);
        QCOMPARE(composer_->text(), none);
        text_->undo();
        QCOMPARE(composer_->text(), none);
        QVERIFY2(changed.isEmpty(), "another draft is no change");
        compose(u"にほ"_qs);
        composer_->showDraft(a, u"for the first"_qs);
        QVERIFY(!text_->isComposing());
        QCOMPARE(text_->textCursor().position(), 13);
        text_->undo();
        QCOMPARE(composer_->text(), none);
        text_->redo();
        QCOMPARE(composer_->text(), u"for the first"_qs);
        composer_->showDraft(b, none);
        QCOMPARE(text_->document()->firstBlock().layout()->preeditAreaText(), none);

        composer_->keepDrafts([&](const QString& slot) { return slot == b; });
        composer_->showDraft(a, none);
        QVERIFY2(!text_->document()->isUndoAvailable(), "nothing of a draft that ended comes back");
        QTest::keyClicks(text_, u"x"_qs);
        composer_->setText({});
        composer_->forgetHistory();
        text_->undo();
        QCOMPARE(composer_->text(), none);
    }

    void echoedTextIsNoChange() {
        QSignalSpy changed(composer_.get(), &ComposerView::textChanged);
        connect(composer_.get(), &ComposerView::textChanged, this,
                [this](const QString& text) { composer_->setText(text); });
        QTest::keyClicks(text_, u"ab"_qs);
        QTest::keyClick(text_, Qt::Key_Left);
        QTest::keyClicks(text_, u"c"_qs);
        QCOMPARE(composer_->text(), u"acb"_qs);
        QCOMPARE(changed.count(), 3);
        QCOMPARE(text_->textCursor().position(), 2);
    }
};

QTEST_MAIN(TestComposer)
#include "TestComposer.moc"
