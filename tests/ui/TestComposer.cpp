#include "ComposerTest.h"

#include <QClipboard>
#include <QMimeData>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTextBlock>
#include <QUrl>

#include <ctime>

using namespace teskal;

class TestComposer final : public test::ComposerTest {
    Q_OBJECT

private Q_SLOTS:
    void returnKeys_data();
    void returnKeys();
    void sendingRule_data();
    void sendingRule();
    void focusFollowsWhatIsDone_data();
    void focusFollowsWhatIsDone();
    void returnDuringCompositionCommits();
    void sendClickCommitsCompositionFirst();
    void cancelledCompositionLeavesNothing();
    void heightStaysInBounds_data();
    void heightStaysInBounds();
    void heightFollowsEveryLine();
    void heightFollowsTheWidth();
    void growthNeverHidesTheFirstLine();
    void paste_data();
    void paste();
    void fiveMegabytesDoNotFreeze_data();
    void fiveMegabytesDoNotFreeze();
    void linesInsideALongLineArePartedAsEntered();
    void draftsHaveHistoriesOfTheirOwn();
    void echoedTextIsNoChange();
};

void TestComposer::returnKeys_data() {
    QTest::addColumn<int>("key");
    QTest::addColumn<Qt::KeyboardModifiers>("modifiers");
    QTest::addColumn<bool>("sends");
    using Modifiers = Qt::KeyboardModifiers;
    const auto row = [](const char* name, int key, Modifiers modifiers, bool sends) {
        QTest::newRow(name) << key << modifiers << sends;
    };
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

void TestComposer::returnKeys() {
    QFETCH(const int, key);
    QFETCH(const Qt::KeyboardModifiers, modifiers);
    QFETCH(const bool, sends);
    QSignalSpy sent(composer_.get(), &ComposerView::sendRequested);
    QTest::keyClicks(text_, QStringLiteral("ab"));
    QTest::keyClick(text_, Qt::Key_Left);
    QTest::keyClick(text_, static_cast<Qt::Key>(key), modifiers);
    QCOMPARE(sent.count(), sends ? 1 : 0);
    QCOMPARE(composer_->text(), sends ? QStringLiteral("ab") : QStringLiteral("a\nb"));
}

void TestComposer::sendingRule_data() {
    QTest::addColumn<QString>("draft");
    QTest::addColumn<bool>("busy");
    QTest::addColumn<bool>("possible");
    QTest::newRow("empty") << QString() << false << false;
    QTest::newRow("white space") << QStringLiteral(" \n\t\u00a0") << false << false;
    QTest::newRow("text") << QStringLiteral(" a ") << false << true;
    QTest::newRow("answering") << QStringLiteral("a") << true << false;
}

void TestComposer::sendingRule() {
    QFETCH(const QString, draft);
    QFETCH(const bool, busy);
    QFETCH(const bool, possible);
    composer_->setBusy(busy);
    composer_->setText(draft);
    const QString before = composer_->text();
    QSignalSpy sent(composer_.get(), &ComposerView::sendRequested);
    QCOMPARE(button("sendButton")->isEnabled(), possible);
    QTest::keyClick(text_, Qt::Key_Return);
    QTest::mouseClick(button("sendButton"), Qt::LeftButton);
    QCOMPARE(sent.count(), possible ? 2 : 0);
    QCOMPARE(composer_->text(), before);
    const QString reason = QStringLiteral("Teskal is answering…");
    QCOMPARE(text_->placeholderText(), busy ? reason : QStringLiteral("Ask anything"));
    QCOMPARE(button("sendButton")->accessibleDescription(), busy ? reason : QString());
}

void TestComposer::focusFollowsWhatIsDone_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("byKeyboard");
    for (const char* name : {"sendButton", "dictateButton"}) {
        QTest::addRow("click on %s", name) << QString::fromLatin1(name) << false;
        QTest::addRow("key on %s", name) << QString::fromLatin1(name) << true;
    }
}

/// Wherever the keyboard was, it is where the user goes on.
void TestComposer::focusFollowsWhatIsDone() {
    QFETCH(const QString, name);
    QFETCH(const bool, byKeyboard);
    auto* pressed = composer_->findChild<QAbstractButton*>(name);
    // As the model does.
    connect(composer_.get(), &ComposerView::sendRequested, this, [this] { composer_->setText({}); });
    connect(composer_.get(), &ComposerView::voiceToggled, this,
            [this] { composer_->setVoicePhase(VoicePhase::Recording); });
    composer_->setText(QStringLiteral("words"));
    pressed->setFocus(Qt::TabFocusReason);
    if (byKeyboard) {
        press(Qt::Key_Space);
    } else {
        pressed->clearFocus();
        QVERIFY(!QApplication::focusWidget());
        QTest::mouseClick(pressed, Qt::LeftButton);
    }
    QWidget* const expected =
        name == QLatin1String("sendButton") ? static_cast<QWidget*>(text_) : button("useRecordingButton");
    QCOMPARE(QApplication::focusWidget(), expected);
}

void TestComposer::returnDuringCompositionCommits() {
    QSignalSpy sent(composer_.get(), &ComposerView::sendRequested);
    QSignalSpy changed(composer_.get(), &ComposerView::textChanged);
    QTest::keyClicks(text_, QStringLiteral("x "));
    changed.clear();
    compose(QStringLiteral("にほ"));
    QVERIFY(text_->isComposing());
    QCOMPARE(composer_->text(), QStringLiteral("x "));
    QCOMPARE(changed.count(), 0);
    QString expected = composer_->text();
    for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Enter}) {
        for (const Qt::KeyboardModifier modifier :
             {Qt::NoModifier, Qt::ShiftModifier, Qt::ControlModifier, Qt::AltModifier, Qt::MetaModifier}) {
            compose(QStringLiteral("にほ"));
            QTest::keyClick(text_, key, modifier);
            QCOMPARE(sent.count(), 0);
            QVERIFY(!text_->isComposing());
            expected += QStringLiteral("にほ");
            QCOMPARE(composer_->text(), expected);
        }
    }
    QTest::keyClick(text_, Qt::Key_Return);
    QCOMPARE(sent.count(), 1);
}

void TestComposer::sendClickCommitsCompositionFirst() {
    QString sentText;
    connect(composer_.get(), &ComposerView::sendRequested, this, [&] { sentText = composer_->text(); });
    compose(QStringLiteral("日本"));
    QVERIFY2(button("sendButton")->isEnabled(), "what is being composed is about to be text");
    QTest::mouseClick(button("sendButton"), Qt::LeftButton);
    QCOMPARE(sentText, QStringLiteral("日本"));
}

void TestComposer::cancelledCompositionLeavesNothing() {
    compose(QStringLiteral("に"));
    compose({});
    QVERIFY(!text_->isComposing());
    QVERIFY(!button("sendButton")->isEnabled());
    compose(QStringLiteral("に"));
    compose({}, QStringLiteral("二"));
    QCOMPARE(composer_->text(), QStringLiteral("二"));
    QVERIFY(button("sendButton")->isEnabled());
}

void TestComposer::heightStaysInBounds_data() {
    QTest::addColumn<int>("lines");
    QTest::addColumn<bool>("large");
    QTest::addColumn<int>("least");
    QTest::addColumn<int>("most");
    QTest::newRow("empty") << 0 << false << 22 << 22;
    QTest::newRow("empty, large") << 0 << true << 44 << 44;
    QTest::newRow("one line, large") << 1 << true << 44 << 44;
    QTest::newRow("five lines") << 5 << false << 80 << 140;
    QTest::newRow("five lines, large") << 5 << true << 80 << 140;
    QTest::newRow("forty lines") << 40 << false << 240 << 240;
    QTest::newRow("a hundred thousand lines") << 100000 << true << 240 << 240;
}

void TestComposer::heightStaysInBounds() {
    QFETCH(const int, lines);
    QFETCH(const bool, large);
    QFETCH(const int, least);
    QFETCH(const int, most);
    composer_->setLarge(large);
    composer_->setText(QStringList(lines, QStringLiteral("line")).join(QLatin1Char('\n')));
    QVERIFY2(text_->height() >= least && text_->height() <= most,
             qPrintable(QString::number(text_->height())));
    composer_->setText({});
    QCOMPARE(text_->height(), large ? 44 : 22);
}

void TestComposer::heightFollowsEveryLine() {
    QSignalSpy heights(composer_.get(), &ComposerView::cardHeightChanged);
    QSignalSpy layouts(text_, &ComposerTextView::layoutChanged);
    QTest::keyClicks(text_, QStringLiteral("some words that fit"));
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

void TestComposer::heightFollowsTheWidth() {
    composer_->setText(QStringLiteral("word ").repeated(60));
    const int wide = text_->height();
    composer_->resize(260, 200);
    QTRY_VERIFY(text_->height() > wide);
    composer_->resize(500, 200);
    QTRY_COMPARE(text_->height(), wide);
}

void TestComposer::growthNeverHidesTheFirstLine() {
    QTest::keyClicks(text_, QStringLiteral("first"));
    for (int line = 0; line < 6; ++line)
        QTest::keyClick(text_, Qt::Key_Return, Qt::ShiftModifier);
    QTRY_COMPARE(text_->verticalScrollBar()->value(), 0);
    QVERIFY(text_->height() < 240);
}

void TestComposer::paste_data() {
    QTest::addColumn<QString>("plain");
    QTest::addColumn<QString>("html");
    QTest::addColumn<QStringList>("links");
    QTest::addColumn<bool>("image");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QStringList>("files");
    QTest::addColumn<int>("images");
    const QString none;
    const QString file = QStringLiteral("file:///tmp/a.png");
    const QString other = QStringLiteral("file:///tmp/b%20c.pdf");
    const QString web = QStringLiteral("https://example.org/a.png");
    const auto row = [](const char* name, const QString& plain, const QString& html, const QStringList& links,
                        bool image, const QString& text, const QStringList& files, int images) {
        QTest::newRow(name) << plain << html << links << image << text << files << images;
    };
    row("text", QStringLiteral("a\nb"), none, {}, false, QStringLiteral("a\nb"), {}, 0);
    row("html with text", QStringLiteral("bold"), QStringLiteral("<b>other</b>"), {}, false,
        QStringLiteral("bold"), {}, 0);
    row("html alone", none, QStringLiteral("<h1>Head</h1><p>a &amp; <img src=x>b</p>"), {}, false,
        QStringLiteral("Head\na & b"), {}, 0);
    row("files", none, none, {file, other}, false, none, {file, other}, 0);
    row("files with their paths", QStringLiteral("/tmp/a.png"), none, {file}, true, none, {file}, 0);
    row("a file beside a link", none, none, {web, other}, false, none, {other}, 0);
    row("a link", none, none, {web}, false, web, {}, 0);
    row("image", none, none, {}, true, none, {}, 1);
    row("image from a page", none, QStringLiteral("<img src=x>"), {}, true, none, {}, 1);
    row("image with words", QStringLiteral("1\t2"), QStringLiteral("<td>1</td>"), {}, true, none, {}, 1);
}

void TestComposer::paste() {
    QFETCH(const QString, plain);
    QFETCH(const QString, html);
    QFETCH(const QStringList, links);
    QFETCH(const bool, image);
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

void TestComposer::fiveMegabytesDoNotFreeze_data() {
    QTest::addColumn<QString>("text");
    QTest::newRow("lines")
        << QStringLiteral("some eighty characters of a line that is like any other\n").repeated(90000);
    QTest::newRow("one line of words") << QStringLiteral("word and ").repeated(560000);
    QTest::newRow("one word") << QStringLiteral("x").repeated(5000000);
    QTest::newRow("one line of pairs") << QStringLiteral("\U0001F600").repeated(2500000);
}

void TestComposer::fiveMegabytesDoNotFreeze() {
    QFETCH(const QString, text);
    QGuiApplication::clipboard()->setText(text);
    QTest::keyClicks(text_, QStringLiteral("ab"));
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

void TestComposer::linesInsideALongLineArePartedAsEntered() {
    const QString line = QStringLiteral("word and ").repeated(1000);
    const QString before = QStringLiteral("head\n") + line + QStringLiteral("\nfoot");
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
    QGuiApplication::clipboard()->setText(QStringLiteral("1\r2"));
    text_->paste();
    const QString after = composer_->text();
    QCOMPARE(after.count(QLatin1Char('\n')), 4);
    QVERIFY(after.contains(QLatin1String("\n1\n2")));
    text_->undo();
    text_->undo();
    QVERIFY(composer_->text() == before);
}

void TestComposer::draftsHaveHistoriesOfTheirOwn() {
    QSignalSpy changed(composer_.get(), &ComposerView::textChanged);
    const QString none;
    const QString a = QStringLiteral("a");
    const QString b = QStringLiteral("b");
    QTest::keyClicks(text_, QStringLiteral("for the first"));
    composer_->setText(none); // as it is when it is sent
    text_->undo();
    QCOMPARE(composer_->text(), QStringLiteral("for the first"));
    changed.clear();
    composer_->renameDraft(none, a);
    composer_->showDraft(b, none);
    QCOMPARE(composer_->text(), none);
    text_->undo();
    QCOMPARE(composer_->text(), none);
    QVERIFY2(changed.isEmpty(), "another draft is no change");
    compose(QStringLiteral("にほ"));
    composer_->showDraft(a, QStringLiteral("for the first"));
    QVERIFY(!text_->isComposing());
    QCOMPARE(text_->textCursor().position(), 13);
    text_->undo();
    QCOMPARE(composer_->text(), none);
    text_->redo();
    QCOMPARE(composer_->text(), QStringLiteral("for the first"));
    composer_->showDraft(b, none);
    QCOMPARE(text_->document()->firstBlock().layout()->preeditAreaText(), none);

    composer_->keepDrafts([&](const QString& slot) { return slot == b; });
    composer_->showDraft(a, none);
    QVERIFY2(!text_->document()->isUndoAvailable(), "nothing of a draft that ended comes back");
    QTest::keyClicks(text_, QStringLiteral("x"));
    composer_->setText({});
    composer_->forgetHistory();
    text_->undo();
    QCOMPARE(composer_->text(), none);
}

void TestComposer::echoedTextIsNoChange() {
    QSignalSpy changed(composer_.get(), &ComposerView::textChanged);
    connect(composer_.get(), &ComposerView::textChanged, this,
            [this](const QString& text) { composer_->setText(text); });
    QTest::keyClicks(text_, QStringLiteral("ab"));
    QTest::keyClick(text_, Qt::Key_Left);
    QTest::keyClicks(text_, QStringLiteral("c"));
    QCOMPARE(composer_->text(), QStringLiteral("acb"));
    QCOMPARE(changed.count(), 3);
    QCOMPARE(text_->textCursor().position(), 2);
}

QTEST_MAIN(TestComposer)
#include "TestComposer.moc"
