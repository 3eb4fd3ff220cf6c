#include "MainWindow.h"
#include "TeskalCommands.h"
#include "chat/DetailView.h"
#include "chat/FindBar.h"
#include "composer/ComposerTextView.h"
#include "composer/ComposerView.h"
#include "theme/Theme.h"

#include <QAbstractButton>
#include <QLabel>
#include <QLineEdit>
#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

using namespace teskal;

/// Finding in the transcript, by keys, in the window that it belongs to.
class TestFindBar : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void keys_data();
    void keys();
    void countSaysWhatWasFound_data();
    void countSaysWhatWasFound();
    void escapeGivesTheFocusBack();
    void opensWithTheLastText();
    void leavesWithTheTranscript();
    void staysInsideItsChat_data();
    void staysInsideItsChat();

private:
    FindBar& bar() const { return window_->detail().findBar(); }
    QLineEdit* field() const { return bar().findChild<QLineEdit*>(); }
    QString count() const { return bar().findChild<QLabel*>(QStringLiteral("findCount"))->text(); }
    QAbstractButton* button(const char* name) const {
        return bar().findChild<QAbstractButton*>(QLatin1String(name));
    }
    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = {}) {
        QTest::keyClick(window_->focusWidget(), key, modifiers);
    }

    Theme theme_;
    QTemporaryDir folder_;
    std::unique_ptr<QSettings> settings_;
    std::unique_ptr<MainWindow> window_;
    QWidget* page_ = nullptr;
    QStringList asked_;
};

void TestFindBar::init() {
    window_.reset();
    settings_ = std::make_unique<QSettings>(folder_.filePath(QStringLiteral("s.ini")), QSettings::IniFormat);
    window_ = std::make_unique<MainWindow>(theme_, *settings_);
    page_ = new QWidget;
    page_->setFocusPolicy(Qt::StrongFocus);
    window_->setTranscript(page_, [](EditAction) {});
    window_->setPage(MainWindow::Page::Chats);
    window_->detail().setEmpty(false);
    window_->commands().setState({.signedIn = true, .chatSelected = true, .hasMessages = true});
    window_->show();
    window_->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(window_.get()));

    asked_.clear();
    TeskalCommands& commands = window_->commands();
    connect(&commands, &TeskalCommands::findRequested, &bar(), &FindBar::open);
    connect(&commands, &TeskalCommands::findNextRequested, &bar(), &FindBar::findNext);
    connect(&commands, &TeskalCommands::findPreviousRequested, &bar(), &FindBar::findPrevious);
    connect(&bar(), &FindBar::searchChanged, this,
            [this](const QString& text) { asked_.append(QStringLiteral("search ") + text); });
    connect(&bar(), &FindBar::nextRequested, this, [this] { asked_.append(QStringLiteral("next")); });
    connect(&bar(), &FindBar::previousRequested, this, [this] { asked_.append(QStringLiteral("previous")); });
}

void TestFindBar::keys_data() {
    QTest::addColumn<int>("key");
    QTest::addColumn<Qt::KeyboardModifiers>("modifiers");
    QTest::addColumn<QString>("asked");
    const auto row = [](const char* name, int key, Qt::KeyboardModifiers modifiers, const char* asked) {
        QTest::newRow(name) << key << modifiers << QString::fromLatin1(asked);
    };
    row("Enter", Qt::Key_Return, {}, "next");
    row("F3", Qt::Key_F3, {}, "next");
    row("Ctrl+G", Qt::Key_G, Qt::ControlModifier, "next");
    row("Shift+Enter", Qt::Key_Return, Qt::ShiftModifier, "previous");
    row("Shift+F3", Qt::Key_F3, Qt::ShiftModifier, "previous");
    row("Ctrl+Shift+G", Qt::Key_G, Qt::ControlModifier | Qt::ShiftModifier, "previous");
    row("Escape", Qt::Key_Escape, {}, "search ");
}

void TestFindBar::keys() {
    QFETCH(const int, key);
    QFETCH(const Qt::KeyboardModifiers, modifiers);
    QFETCH(const QString, asked);
    press(Qt::Key_F, Qt::ControlModifier);
    QVERIFY(bar().isVisible());
    QCOMPARE(window_->focusWidget(), field());
    press(Qt::Key(key), modifiers);
    QVERIFY2(asked_.isEmpty() || key == Qt::Key_Escape, "there is nothing to find");
    press(Qt::Key_F, Qt::ControlModifier);
    asked_.clear();
    QTest::keyClicks(field(), QStringLiteral("ab"));
    bar().setCount(1, 2);
    press(Qt::Key(key), modifiers);
    QCOMPARE(asked_, (QStringList{QStringLiteral("search a"), QStringLiteral("search ab"), asked}));
}

void TestFindBar::countSaysWhatWasFound_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("active");
    QTest::addColumn<int>("total");
    QTest::addColumn<QString>("shown");
    QTest::newRow("nothing looked for") << QString() << 0 << 0 << QString();
    QTest::newRow("found") << QStringLiteral("a") << 3 << 12 << QStringLiteral("3 of 12");
    QTest::newRow("not found") << QStringLiteral("a") << 0 << 0 << QStringLiteral("No results");
}

void TestFindBar::countSaysWhatWasFound() {
    QFETCH(const QString, text);
    QFETCH(const int, active);
    QFETCH(const int, total);
    QFETCH(const QString, shown);
    press(Qt::Key_F, Qt::ControlModifier);
    QTest::keyClicks(field(), text);
    bar().setCount(active, total);
    QCOMPARE(count(), shown);
    QCOMPARE(field()->accessibleDescription(), shown);
    for (const char* name : {"findPreviousButton", "findNextButton"})
        QCOMPARE(button(name)->isEnabled(), total > 0);
    asked_.clear();
    QTest::mouseClick(button("findPreviousButton"), Qt::LeftButton);
    QTest::mouseClick(button("findNextButton"), Qt::LeftButton);
    QCOMPARE(asked_.size(), total > 0 ? 2 : 0);
}

void TestFindBar::escapeGivesTheFocusBack() {
    QWidget* const composer = &window_->detail().composer().textView();
    for (QWidget* before : {page_, composer}) {
        before->setFocus();
        press(Qt::Key_F, Qt::ControlModifier);
        press(Qt::Key_F, Qt::ControlModifier); // twice must not forget where the focus was
        button("findCloseButton")->setFocus(Qt::TabFocusReason);
        press(Qt::Key_Escape);
        QVERIFY(!bar().isVisible());
        QCOMPARE(window_->focusWidget(), before);
    }
    // What the user moved to meanwhile keeps the focus.
    page_->setFocus();
    press(Qt::Key_F, Qt::ControlModifier);
    composer->setFocus();
    QTest::mouseClick(button("findCloseButton"), Qt::LeftButton);
    QCOMPARE(window_->focusWidget(), composer);
}

void TestFindBar::opensWithTheLastText() {
    press(Qt::Key_F, Qt::ControlModifier);
    QTest::keyClicks(field(), QStringLiteral("ab"));
    press(Qt::Key_Escape);
    asked_.clear();
    press(Qt::Key_F3);
    QVERIFY(bar().isVisible());
    QCOMPARE(asked_, QStringList{QStringLiteral("search ab")});
    QCOMPARE(field()->selectedText(), QStringLiteral("ab"));
}

void TestFindBar::leavesWithTheTranscript() {
    press(Qt::Key_F, Qt::ControlModifier);
    window_->detail().setEmpty(true);
    QVERIFY(!bar().isVisible());
    QCOMPARE(window_->focusWidget(), &window_->detail().composer().textView());
    window_->commands().setState({.signedIn = true});
    press(Qt::Key_F, Qt::ControlModifier);
    QVERIFY(!bar().isVisible());
}

void TestFindBar::staysInsideItsChat_data() {
    QTest::addColumn<QSize>("size");
    QTest::newRow("usual") << QSize(1100, 760);
    QTest::newRow("least") << QSize(640, 480);
}

void TestFindBar::staysInsideItsChat() {
    QFETCH(const QSize, size);
    window_->resize(size);
    bar().open();
    QTRY_VERIFY(page_->geometry().contains(bar().geometry()));
    QVERIFY2(field()->width() >= 60, "there is room to type");
}

QTEST_MAIN(TestFindBar)
#include "TestFindBar.moc"
