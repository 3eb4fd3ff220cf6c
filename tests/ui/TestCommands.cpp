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
#include <QTemporaryDir>
#include <QTest>

#include <memory>

using namespace teskal;

using Request = void (TeskalCommands::*)();

Q_DECLARE_METATYPE(CommandState)
Q_DECLARE_METATYPE(Request)

namespace {

QStringList editTitles() {
    return {QStringLiteral("Undo"), QStringLiteral("Redo"),  QStringLiteral("Cut"),
            QStringLiteral("Copy"), QStringLiteral("Paste"), QStringLiteral("Select All")};
}

} // namespace

class TestCommands : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void enabling_data();
    void enabling();
    void shortcuts_data();
    void shortcuts();
    void editActsOnTheComposer();
    void editActsOnTheTranscript();
    void editMenuShowsWhatIsPossible_data();
    void editMenuShowsWhatIsPossible();

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
    const QStringList out{QStringLiteral("Sign In with Passhold")};
    const QStringList in{QStringLiteral("New Private Chat"),    QStringLiteral("New Folder…"),
                         QStringLiteral("Search Chats"),        QStringLiteral("Hide Sidebar"),
                         QStringLiteral("Attach Files…"),       QStringLiteral("Credits…"),
                         QStringLiteral("API Keys…"),           QStringLiteral("Where Requests Went…"),
                         QStringLiteral("Privacy and Models…"), QStringLiteral("Sign Out")};
    const QStringList page{QStringLiteral("Find…"),         QStringLiteral("Find Next"),
                           QStringLiteral("Find Previous"), QStringLiteral("Zoom In"),
                           QStringLiteral("Zoom Out"),      QStringLiteral("Actual Size"),
                           QStringLiteral("Scroll to End")};
    const QStringList chat{QStringLiteral("Rename Chat…"), QStringLiteral("Delete Chat…")};
    const QStringList copy{QStringLiteral("Copy Last Answer")};
    const QStringList stop{QStringLiteral("Stop Answer")};
    const QStringList again{QStringLiteral("Ask Again")};
    const CommandState newChat{.signedIn = true, .chatSelected = true, .chatExists = true};
    CommandState answered = newChat;
    answered.hasMessages = answered.endsInAnswer = true;
    CommandState answering = answered;
    answering.busy = true;
    QTest::newRow("signed out") << CommandState{} << out;
    QTest::newRow("nothing selected") << CommandState{.signedIn = true} << in;
    QTest::newRow("selected and gone") << CommandState{.signedIn = true, .chatSelected = true} << in + copy;
    QTest::newRow("new chat") << newChat << in + copy + chat;
    QTest::newRow("answering") << answering << in + copy + chat + page + stop;
    QTest::newRow("answered") << answered << in + copy + chat + page + again;
}

void TestCommands::enabling() {
    QFETCH(const CommandState, state);
    QFETCH(QStringList, possible);
    window_->commands().setState(state);
    // Whoever the user is, the application and its window obey.
    possible +=
        {QStringLiteral("New Chat"),          QStringLiteral("Quit"),        QStringLiteral("Settings…"),
         QStringLiteral("Enter Full Screen"), QStringLiteral("Minimize"),    QStringLiteral("Close Window"),
         QStringLiteral("API Documentation"), QStringLiteral("Teskal Help"), QStringLiteral("Status")};
    QStringList found;
    for (const QAction* menu : window_->menuBar()->actions()) {
        if (menu->text() == QLatin1String("&Edit"))
            possible += editTitles();
        for (const QAction* item : menu->menu()->actions()) {
            if (!item->isSeparator() && item->isVisible() && item->isEnabled())
                found.append(item->text());
        }
    }
    found.sort();
    possible.sort();
    QCOMPARE(found, possible);
}

void TestCommands::shortcuts_data() {
    QTest::addColumn<int>("keys");
    QTest::addColumn<Request>("request");
    const auto row = [](const char* name, int keys, Request request) {
        QTest::newRow(name) << keys << request;
    };
    constexpr int ctrl = Qt::CTRL;
    constexpr int ctrlShift = ctrl | Qt::SHIFT;
    row("new chat", ctrl | Qt::Key_N, &TeskalCommands::newChatRequested);
    row("new private chat", ctrlShift | Qt::Key_N, &TeskalCommands::newPrivateChatRequested);
    row("new folder", ctrl | Qt::ALT | Qt::Key_N, &TeskalCommands::newFolderRequested);
    row("quit", ctrl | Qt::Key_Q, &TeskalCommands::quitRequested);
    row("settings", ctrl | Qt::Key_Comma, &TeskalCommands::settingsRequested);
    row("find", ctrl | Qt::Key_F, &TeskalCommands::findRequested);
    row("search", ctrl | Qt::Key_K, &TeskalCommands::searchRequested); // X11: deletes the line's rest
    row("sidebar", Qt::Key_F9, &TeskalCommands::sidebarToggled);
    row("larger", ctrl | Qt::Key_Plus, &TeskalCommands::zoomInRequested);
    row("larger, without Shift", ctrl | Qt::Key_Equal, &TeskalCommands::zoomInRequested);
    row("smaller", ctrl | Qt::Key_Minus, &TeskalCommands::zoomOutRequested);
    row("actual size", ctrl | Qt::Key_0, &TeskalCommands::zoomResetRequested);
    row("full screen", Qt::Key_F11, &TeskalCommands::fullScreenToggled);
    row("stop", ctrl | Qt::Key_Period, &TeskalCommands::stopRequested);
    row("ask again", ctrl | Qt::Key_R, &TeskalCommands::askAgainRequested);
    row("copy last answer", ctrlShift | Qt::Key_C, &TeskalCommands::copyLastAnswerRequested);
    row("attach", ctrl | Qt::Key_U, &TeskalCommands::attachRequested); // X11: deletes the line
    row("delete chat", ctrlShift | Qt::Key_Backspace, &TeskalCommands::deleteChatRequested);
    row("credits", ctrlShift | Qt::Key_B, &TeskalCommands::creditsRequested);
    row("minimize", ctrl | Qt::Key_M, &TeskalCommands::minimizeRequested);
    row("close", ctrl | Qt::Key_W, &TeskalCommands::closeRequested);
}

void TestCommands::shortcuts() {
    QFETCH(const int, keys);
    QFETCH(const Request, request);
    TeskalCommands& commands = window_->commands();
    commands.disconnect(window_.get()); // the window stays as it is
    int requests = 0;
    connect(&commands, request, this, [&requests] { ++requests; });
    CommandState state{.signedIn = true, .chatSelected = true, .chatExists = true};
    state.hasMessages = state.endsInAnswer = true;
    state.busy = request == &TeskalCommands::stopRequested;
    commands.setState(state);
    ComposerView& composer = window_->detail().composer();
    composer.focusText();
    QTRY_VERIFY(composer.textView().hasFocus());
    composer.setText(QStringLiteral("words"));
    const auto press = [&] {
        QTest::keyClick(&composer.textView(), static_cast<Qt::Key>(keys & ~Qt::KeyboardModifierMask),
                        Qt::KeyboardModifiers(keys & Qt::KeyboardModifierMask));
    };
    press();
    QCOMPARE(requests, 1);
    QCOMPARE(composer.text(), QStringLiteral("words"));
    // Half of them are off while nothing is selected: off, the key does nothing.
    commands.setState({});
    composer.setText({});
    press();
    const bool always =
        request == &TeskalCommands::newChatRequested || request == &TeskalCommands::quitRequested ||
        request == &TeskalCommands::settingsRequested || request == &TeskalCommands::fullScreenToggled ||
        request == &TeskalCommands::minimizeRequested || request == &TeskalCommands::closeRequested;
    QCOMPARE(requests, always ? 2 : 1);
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

void TestCommands::editMenuShowsWhatIsPossible_data() {
    QTest::addColumn<bool>("inPage");
    QTest::addColumn<QStringList>("possible");
    QTest::newRow("composer") << false
                              << QStringList{QStringLiteral("Undo"), QStringLiteral("Paste"),
                                             QStringLiteral("Select All")};
    QTest::newRow("transcript") << true << QStringList{QStringLiteral("Copy"), QStringLiteral("Select All")};
}

void TestCommands::editMenuShowsWhatIsPossible() {
    QFETCH(const bool, inPage);
    QFETCH(const QStringList, possible);
    ComposerView& composer = window_->detail().composer();
    composer.setText(QStringLiteral("words"));
    QGuiApplication::clipboard()->setText(QStringLiteral("more"));
    QWidget* const focus = inPage ? page_ : &composer.textView();
    focus->setFocus();
    QTRY_VERIFY(focus->hasFocus());
    QMenu* menu = window_->menuBar()->actions().at(1)->menu();
    menu->popup(window_->mapToGlobal(QPoint(40, 40)));
    QStringList enabled;
    for (const QString& title : editTitles()) {
        if (action(title)->isEnabled())
            enabled.append(title);
    }
    QCOMPARE(enabled, possible);
    menu->close();
    QTRY_VERIFY2(action(QStringLiteral("Copy"))->isEnabled(), "closed, the shortcut is alive again");
}

QTEST_MAIN(TestCommands)
#include "TestCommands.moc"
