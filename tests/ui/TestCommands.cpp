#include "MainWindow.h"
#include "TeskalCommands.h"
#include "chat/DetailView.h"
#include "composer/ComposerTextView.h"
#include "composer/ComposerView.h"
#include "theme/Theme.h"

#include <QApplication>
#include <QClipboard>
#include <QMenu>
#include <QMenuBar>
#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

using namespace teskal;

Q_DECLARE_METATYPE(CommandState)

class TestCommands : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void enabling_data();
    void enabling();
    void shortcuts();
    void editActsOnTheComposer();
    void editActsOnTheTranscript();
    void editMenuShowsWhatIsPossible();
    void helpPaths();

private:
    [[nodiscard]] QAction* action(const QString& title) const;

    Theme theme_;
    QTemporaryDir folder_;
    std::unique_ptr<QSettings> settings_;
    std::unique_ptr<MainWindow> window_;
    QWidget* page_ = nullptr;
    QList<EditAction> pageEdits_;
};

void TestCommands::init() {
    window_.reset();
    pageEdits_.clear();
    settings_ = std::make_unique<QSettings>(folder_.filePath(QStringLiteral("s.ini")), QSettings::IniFormat);
    window_ = std::make_unique<MainWindow>(theme_, *settings_);
    auto* transcript = new QWidget;
    page_ = new QWidget(transcript);
    page_->setFocusPolicy(Qt::StrongFocus);
    window_->setTranscript(transcript, [this](EditAction edit) { pageEdits_.append(edit); });
    window_->setPage(MainWindow::Page::Chats);
    window_->detail().setEmpty(false);
    window_->show();
    window_->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(window_.get()));
}

QAction* TestCommands::action(const QString& title) const {
    for (QAction* menu : window_->menuBar()->actions()) {
        for (QAction* item : menu->menu()->actions()) {
            if (item->text() == title)
                return item;
        }
    }
    qFatal("no menu item %s", qPrintable(title));
}

void TestCommands::enabling_data() {
    QTest::addColumn<CommandState>("state");
    QTest::addColumn<QStringList>("possible");
    const QString stop = QStringLiteral("Stop Answer");
    const QString again = QStringLiteral("Ask Again");
    const QString copy = QStringLiteral("Copy Last Answer");
    const QString attach = QStringLiteral("Attach Files…");
    const QString find = QStringLiteral("Find…");
    const QString end = QStringLiteral("Scroll to End");
    const QString in = QStringLiteral("Sign In with Passhold");
    const QString credits = QStringLiteral("Credits…");
    const QString out = QStringLiteral("Sign Out");
    QTest::newRow("signed out") << CommandState{} << QStringList{in};
    QTest::newRow("nothing selected") << CommandState{.signedIn = true} << QStringList{attach, credits, out};
    QTest::newRow("new chat") << CommandState{.signedIn = true, .chatSelected = true}
                              << QStringList{copy, attach, credits, out};
    QTest::newRow("answering") << CommandState{.signedIn = true,
                                               .chatSelected = true,
                                               .hasMessages = true,
                                               .busy = true,
                                               .endsInAnswer = true}
                               << QStringList{find, end, stop, copy, attach, credits, out};
    QTest::newRow("answered") << CommandState{.signedIn = true, .chatSelected = true, .endsInAnswer = true}
                              << QStringList{again, copy, attach, credits, out};
}

void TestCommands::enabling() {
    QFETCH(const CommandState, state);
    QFETCH(const QStringList, possible);
    window_->commands().setState(state);
    for (const char* title : {"Find…", "Scroll to End", "Stop Answer", "Ask Again", "Copy Last Answer",
                              "Attach Files…", "Sign In with Passhold", "Credits…", "Sign Out"}) {
        const QAction* item = action(QString::fromUtf8(title));
        QVERIFY2((item->isEnabled() && item->isVisible()) == possible.contains(QString::fromUtf8(title)),
                 title);
    }
    QVERIFY(action(QStringLiteral("New Chat"))->isEnabled());
    QVERIFY(action(QStringLiteral("Quit"))->isEnabled());
}

void TestCommands::shortcuts() {
    TeskalCommands& commands = window_->commands();
    QSignalSpy newChat(&commands, &TeskalCommands::newChatRequested);
    QSignalSpy stop(&commands, &TeskalCommands::stopRequested);
    QSignalSpy again(&commands, &TeskalCommands::askAgainRequested);
    QSignalSpy copy(&commands, &TeskalCommands::copyLastAnswerRequested);
    QSignalSpy credits(&commands, &TeskalCommands::creditsRequested);
    QSignalSpy attach(&commands, &TeskalCommands::attachRequested);
    QSignalSpy quit(&commands, &TeskalCommands::quitRequested);
    window_->detail().composer().focusText();
    QWidget* text = &window_->detail().composer().textView();
    const auto press = [&](Qt::Key key, Qt::KeyboardModifiers more = {}) {
        QTest::keyClick(text, key, Qt::ControlModifier | more);
    };
    press(Qt::Key_N);
    press(Qt::Key_Q);
    press(Qt::Key_Period);
    QVERIFY2(stop.isEmpty(), "nothing runs");
    commands.setState({.signedIn = true, .chatSelected = true, .busy = true, .endsInAnswer = true});
    press(Qt::Key_Period);
    press(Qt::Key_R);
    QVERIFY2(again.isEmpty(), "not while an answer runs");
    commands.setState({.signedIn = true, .chatSelected = true, .busy = false, .endsInAnswer = true});
    press(Qt::Key_R);
    press(Qt::Key_C, Qt::ShiftModifier);
    press(Qt::Key_B, Qt::ShiftModifier);
    press(Qt::Key_U); // under X11 the text would take it to delete a line
    QCOMPARE(newChat.count(), 1);
    QCOMPARE(quit.count(), 1);
    QCOMPARE(stop.count(), 1);
    QCOMPARE(again.count(), 1);
    QCOMPARE(copy.count(), 1);
    QCOMPARE(credits.count(), 1);
    QCOMPARE(attach.count(), 1);
    QVERIFY(window_->detail().composer().text().isEmpty());
}

void TestCommands::editActsOnTheComposer() {
    ComposerView& composer = window_->detail().composer();
    composer.focusText();
    QTRY_VERIFY(composer.textView().hasFocus());
    QTest::keyClicks(&composer.textView(), QStringLiteral("abc"));
    action(QStringLiteral("Select All"))->trigger();
    action(QStringLiteral("Cut"))->trigger();
    QCOMPARE(composer.text(), QString());
    QCOMPARE(QGuiApplication::clipboard()->text(), QStringLiteral("abc"));
    action(QStringLiteral("Paste"))->trigger();
    action(QStringLiteral("Paste"))->trigger();
    QCOMPARE(composer.text(), QStringLiteral("abcabc"));
    action(QStringLiteral("Undo"))->trigger();
    QCOMPARE(composer.text(), QStringLiteral("abc"));
    action(QStringLiteral("Redo"))->trigger();
    QCOMPARE(composer.text(), QStringLiteral("abcabc"));
    QVERIFY(pageEdits_.isEmpty());
}

void TestCommands::editActsOnTheTranscript() {
    page_->setFocus();
    QTRY_VERIFY(page_->hasFocus());
    QTest::keyClick(page_, Qt::Key_A, Qt::ControlModifier);
    QTest::keyClick(page_, Qt::Key_C, Qt::ControlModifier);
    QCOMPARE(pageEdits_, (QList<EditAction>{EditAction::SelectAll, EditAction::Copy}));
}

void TestCommands::editMenuShowsWhatIsPossible() {
    ComposerView& composer = window_->detail().composer();
    composer.focusText();
    QTRY_VERIFY(composer.textView().hasFocus());
    QMenu* menu = window_->menuBar()->actions().at(1)->menu();
    menu->popup(window_->mapToGlobal(QPoint(40, 40)));
    QVERIFY(!action(QStringLiteral("Copy"))->isEnabled());
    QVERIFY(!action(QStringLiteral("Undo"))->isEnabled());
    QVERIFY(action(QStringLiteral("Paste"))->isEnabled());
    menu->close();
    QTRY_VERIFY2(action(QStringLiteral("Copy"))->isEnabled(), "closed, the shortcut is alive again");
}

void TestCommands::helpPaths() {
    QSignalSpy wanted(&window_->commands(), &TeskalCommands::helpRequested);
    for (const char* title : {"Teskal Help", "API Documentation", "Status"})
        action(QLatin1String(title))->trigger();
    QCOMPARE(wanted.count(), 3);
    QCOMPARE(wanted.at(0).at(0).toString(), QStringLiteral("/docs"));
    QCOMPARE(wanted.at(1).at(0).toString(), QStringLiteral("/docs/api-chat"));
    QCOMPARE(wanted.at(2).at(0).toString(), QStringLiteral("/status"));
}

QTEST_MAIN(TestCommands)
#include "TestCommands.moc"
