#include "composer/ComposerTextView.h"
#include "composer/ComposerView.h"
#include "theme/Theme.h"

#include <QAbstractButton>
#include <QApplication>
#include <QClipboard>
#include <QInputMethodEvent>
#include <QMimeData>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>
#include <QUrl>

#include <memory>

using namespace teskal;

class TestComposer : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();
    void returnKeys_data();
    void returnKeys();
    void sendingRule_data();
    void sendingRule();
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
    void undoReachesThroughClearing();
    void echoedTextIsNoChange();

private:
    void compose(const QString& preedit, const QString& commit = {});
    [[nodiscard]] QAbstractButton* sendButton() const;

    std::unique_ptr<Theme> theme_;
    std::unique_ptr<ComposerView> composer_;
    ComposerTextView* text_ = nullptr;
};

void TestComposer::initTestCase() {
    theme_ = std::make_unique<Theme>();
    theme_->install(*qApp);
}

void TestComposer::init() {
    composer_ = std::make_unique<ComposerView>(*theme_);
    text_ = &composer_->textView();
    composer_->resize(500, 120);
    composer_->show();
    composer_->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(composer_.get()));
    composer_->focusText();
    QTRY_VERIFY(text_->hasFocus());
}

void TestComposer::cleanup() {
    composer_.reset();
}

void TestComposer::compose(const QString& preedit, const QString& commit) {
    QInputMethodEvent event(preedit, {});
    event.setCommitString(commit);
    QCoreApplication::sendEvent(text_, &event);
}

QAbstractButton* TestComposer::sendButton() const {
    return composer_->findChild<QAbstractButton*>(QStringLiteral("sendButton"));
}

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
    row("Meta+Return", Qt::Key_Return, Qt::MetaModifier, false);
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
    QCOMPARE(sendButton()->isEnabled(), possible);
    QTest::keyClick(text_, Qt::Key_Return);
    QTest::mouseClick(sendButton(), Qt::LeftButton);
    QCOMPARE(sent.count(), possible ? 2 : 0);
    QCOMPARE(composer_->text(), before);
    QVERIFY2(text_->hasFocus(), "a click on Send leaves the focus in the text");
    QCOMPARE(text_->placeholderText(),
             busy ? QStringLiteral("Teskal is answering…") : QStringLiteral("Ask anything"));
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
    for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Enter}) {
        compose(QStringLiteral("にほ"));
        QTest::keyClick(text_, key);
        QCOMPARE(sent.count(), 0);
        QVERIFY(!text_->isComposing());
    }
    QCOMPARE(composer_->text(), QStringLiteral("x にほにほ"));
    QTest::keyClick(text_, Qt::Key_Return);
    QCOMPARE(sent.count(), 1);
}

void TestComposer::sendClickCommitsCompositionFirst() {
    QString sentText;
    connect(composer_.get(), &ComposerView::sendRequested, this, [&] { sentText = composer_->text(); });
    compose(QStringLiteral("日本"));
    QVERIFY2(sendButton()->isEnabled(), "what is being composed is about to be text");
    QTest::mouseClick(sendButton(), Qt::LeftButton);
    QCOMPARE(sentText, QStringLiteral("日本"));
}

void TestComposer::cancelledCompositionLeavesNothing() {
    compose(QStringLiteral("に"));
    compose({});
    QVERIFY(!text_->isComposing());
    QVERIFY(!sendButton()->isEnabled());
    compose(QStringLiteral("に"));
    compose({}, QStringLiteral("二"));
    QCOMPARE(composer_->text(), QStringLiteral("二"));
    QVERIFY(sendButton()->isEnabled());
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
    QTest::keyClicks(text_, QStringLiteral("some words that fit"));
    QCOMPARE(heights.count(), 0);
    for (int line = 1; line <= 4; ++line) {
        const int before = text_->height();
        QTest::keyClick(text_, Qt::Key_Return, Qt::ShiftModifier);
        QCOMPARE(heights.count(), line);
        QVERIFY(text_->height() > before);
    }
    QTest::keyClick(text_, Qt::Key_Backspace);
    QCOMPARE(heights.count(), 5);
    QCoreApplication::sendPostedEvents();
    QCoreApplication::processEvents();
    QVERIFY2(heights.count() == 5, "a new height leads to no further one");
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
    QTest::addColumn<bool>("files");
    QTest::addColumn<QString>("expected");
    QTest::newRow("text") << QStringLiteral("a\nb") << QString() << false << QStringLiteral("a\nb");
    QTest::newRow("html with text") << QStringLiteral("bold") << QStringLiteral("<b>other</b>") << false
                                    << QStringLiteral("bold");
    QTest::newRow("html alone") << QString() << QStringLiteral("<h1>Head</h1><p>a &amp; b</p>") << false
                                << QStringLiteral("Head\na & b");
    QTest::newRow("files") << QString() << QString() << true << QString();
}

void TestComposer::paste() {
    QFETCH(const QString, plain);
    QFETCH(const QString, html);
    QFETCH(const bool, files);
    auto* data = new QMimeData;
    if (!plain.isEmpty())
        data->setText(plain);
    if (!html.isEmpty())
        data->setHtml(html);
    if (files)
        data->setUrls({QUrl(QStringLiteral("file:///tmp/a.png"))});
    QGuiApplication::clipboard()->setMimeData(data);
    text_->paste();
    QTEST(composer_->text(), "expected");
    QVERIFY2(text_->textCursor().charFormat().fontWeight() <= QFont::Normal, "formatting is dropped");
}

void TestComposer::undoReachesThroughClearing() {
    QTest::keyClicks(text_, QStringLiteral("a long thought"));
    composer_->setText({});
    QCOMPARE(composer_->text(), QString());
    text_->undo();
    QCOMPARE(composer_->text(), QStringLiteral("a long thought"));
    text_->redo();
    QCOMPARE(composer_->text(), QString());
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
