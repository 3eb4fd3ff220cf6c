#include "WindowTest.h"

#include <QClipboard>
#include <QMenu>
#include <QMenuBar>

using namespace teskal::test;

using Request = void (TeskalCommands::*)();

Q_DECLARE_METATYPE(CommandState)
Q_DECLARE_METATYPE(Request)

namespace {

QStringList editTitles() {
    return {u"Undo"_qs, u"Redo"_qs, u"Cut"_qs, u"Copy"_qs, u"Paste"_qs, u"Select All"_qs};
}

} // namespace

class TestCommands final : public WindowTest {
    Q_OBJECT

private Q_SLOTS:
    void init() {
        WindowTest::init();
        window_->detail().setEmpty(false);
    }

    void enabling_data() {
        const auto row = columns<CommandState, QString>("state", "items");
        const QString in =
            u"New Private Chat|New Folder…|Search Chats|Hide Sidebar|Attach Files…|Credits…|API Keys…"
            "|Where Requests Went…|Privacy and Models…|Sign Out|"_qs;
        const QString page = u"Find…|Find Next|Find Previous|Zoom In|Zoom Out|Actual Size|Scroll to End|"_qs;
        const QString chat = u"Rename Chat…|Delete Chat…|"_qs;
        const QString copy = u"Copy Last Answer|"_qs;
        const CommandState newChat{.signedIn = true, .chatSelected = true, .chatExists = true};
        CommandState answered = newChat;
        answered.hasMessages = answered.endsInAnswer = true;
        CommandState answering = answered;
        answering.busy = true;
        row("signed out", CommandState{}, "Sign In with Passhold");
        row("nothing selected", CommandState{.signedIn = true}, in);
        row("selected and gone", CommandState{.signedIn = true, .chatSelected = true}, in + copy);
        row("new chat", newChat, in + copy + chat);
        row("answering", answering, in + copy + chat + page + u"Stop Answer"_qs);
        row("answered", answered, in + copy + chat + page + u"Ask Again"_qs);
    }

    void enabling() {
        FETCH(CommandState, state, QString, items);
        window_->commands().setState(state);
        // Whoever the user is, the application and its window obey.
        const QString always =
            u"New Chat|Quit|Settings…|Enter Full Screen|Minimize|Close Window|API Documentation|"
            "Teskal Help|Status|"_qs;
        QStringList possible = (always + items).split(u'|', Qt::SkipEmptyParts);
        QStringList found;
        for (const QAction* menu : window_->menuBar()->actions()) {
            if (menu->text() == u"&Edit")
                possible += editTitles();
            for (const QAction* item : menu->menu()->actions())
                if (!item->isSeparator() && item->isVisible() && item->isEnabled())
                    found.append(item->text());
        }
        found.sort();
        possible.sort();
        QCOMPARE(found, possible);
    }

    void shortcuts_data() {
        const auto row = columns<int, Request>("keys", "request");
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

    void shortcuts() {
        FETCH(int, keys, Request, request);
        TeskalCommands& commands = window_->commands();
        commands.disconnect(window_.get()); // the window stays as it is
        int requests = 0;
        connect(&commands, request, this, [&requests] { ++requests; });
        CommandState state{.signedIn = true, .chatSelected = true, .chatExists = true};
        state.hasMessages = state.endsInAnswer = true;
        state.busy = request == &TeskalCommands::stopRequested;
        commands.setState(state);
        composer().focusText();
        QTRY_VERIFY(text().hasFocus());
        composer().setText(u"words"_qs);
        const auto press = [&] {
            QTest::keyClick(&text(), static_cast<Qt::Key>(keys & ~Qt::KeyboardModifierMask),
                            Qt::KeyboardModifiers(keys & Qt::KeyboardModifierMask));
        };
        press();
        QCOMPARE(requests, 1);
        QCOMPARE(composer().text(), u"words"_qs);
        // Half of them are off while nothing is selected: off, the key does nothing.
        commands.setState({});
        composer().setText({});
        press();
        const bool always =
            request == &TeskalCommands::newChatRequested || request == &TeskalCommands::quitRequested ||
            request == &TeskalCommands::settingsRequested || request == &TeskalCommands::fullScreenToggled ||
            request == &TeskalCommands::minimizeRequested || request == &TeskalCommands::closeRequested;
        QCOMPARE(requests, always ? 2 : 1);
    }

    void editActsOnTheComposer() {
        composer().focusText();
        QTRY_VERIFY(text().hasFocus());
        QTest::keyClicks(&text(), u"abc"_qs);
        action(u"Select All"_qs)->trigger();
        action(u"Cut"_qs)->trigger();
        QCOMPARE(composer().text(), QString());
        QCOMPARE(QGuiApplication::clipboard()->text(), u"abc"_qs);
        action(u"Paste"_qs)->trigger();
        action(u"Paste"_qs)->trigger();
        QCOMPARE(composer().text(), u"abcabc"_qs);
        action(u"Undo"_qs)->trigger();
        QCOMPARE(composer().text(), u"abc"_qs);
        action(u"Redo"_qs)->trigger();
        QCOMPARE(composer().text(), u"abcabc"_qs);
        QVERIFY(pageEdits_.isEmpty());
    }

    void editActsOnTheTranscript() {
        page_->setFocus();
        QTRY_VERIFY(page_->hasFocus());
        QTest::keyClick(page_, Qt::Key_A, Qt::ControlModifier);
        QTest::keyClick(page_, Qt::Key_C, Qt::ControlModifier);
        QCOMPARE(pageEdits_, (QList<EditAction>{EditAction::SelectAll, EditAction::Copy}));
    }

    void editMenuShowsWhatIsPossible_data() {
        const auto row = columns<bool, QStringList>("inPage", "possible");
        row("composer", false, QStringList{u"Undo"_qs, u"Paste"_qs, u"Select All"_qs});
        row("transcript", true, QStringList{u"Copy"_qs, u"Select All"_qs});
    }

    void editMenuShowsWhatIsPossible() {
        FETCH(bool, inPage, QStringList, possible);
        composer().setText(u"words"_qs);
        QGuiApplication::clipboard()->setText(u"more"_qs);
        QWidget* const focus = inPage ? page_ : &text();
        focus->setFocus();
        QTRY_VERIFY(focus->hasFocus());
        QMenu* menu = window_->menuBar()->actions().at(1)->menu();
        menu->popup(window_->mapToGlobal(QPoint(40, 40)));
        QStringList enabled;
        for (const QString& title : editTitles())
            if (action(title)->isEnabled())
                enabled.append(title);
        QCOMPARE(enabled, possible);
        menu->close();
        QTRY_VERIFY2(action(u"Copy"_qs)->isEnabled(), "closed, the shortcut is alive again");
    }

private:
    [[nodiscard]] QAction* action(const QString& title) const {
        for (QAction* menu : window_->menuBar()->actions())
            for (QAction* item : menu->menu()->actions())
                if (item->text() == title)
                    return item;
        qFatal("no menu item %s", qPrintable(title));
    }
};

QTEST_MAIN(TestCommands)
#include "TestCommands.moc"
