#include "AppJourney.h"
#include "TeskalCommands.h"
#include "controls/ModalCard.h"
#include "controls/ToastView.h"
#include "settings/SettingsWindow.h"
#include "sidebar/SidebarTree.h"
#include "sidebar/SidebarView.h"

#include <QAction>
#include <QClipboard>
#include <QMenu>
#include <QMenuBar>

using namespace teskal;
using namespace teskal::test;

using Act = std::function<void()>;
using Holds = std::function<bool()>;
Q_DECLARE_METATYPE(Act)
Q_DECLARE_METATYPE(Holds)

/// The window of the real application: what its menu items, dialogs and keys do.
class TestWindowJourney final : public AppJourney {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() {
        launch();
        QVERIFY(comesTo(MainWindow::Page::SignIn));
    }

    /// Whatever the test before has left open is closed, and the chat is selected.
    void init() {
        if (SettingsWindow* const open = settings())
            open->close();
        if (auto* const panel = window().findChild<QDialog*>(u"attachPanel"_qs))
            panel->reject();
        for (ModalCard* open : window().findChildren<ModalCard*>())
            Q_EMIT open->escaped();
        if (window().isFullScreen())
            item(u"Exit Full Screen"_qs).trigger();
        window().present();
        QVERIFY(comesTrue([this] { return window().isActiveWindow() && !window().isMinimized(); }));
        QVERIFY(comesTrue([this] { return !window().isFullScreen(); }));
        if (model().auth().isSignedIn()) {
            if (window().sidebar().isHidden())
                item(u"Show Sidebar"_qs).trigger();
            item(u"Actual Size"_qs).trigger();
            model().select(chat_.isEmpty() ? std::nullopt : std::optional(chat_));
            press(Qt::Key_Escape); // the find bar
            composer().setFocus();
        }
        browsed_.clear();
    }

    void cleanupTestCase() { app_.reset(); }

    void signInFromTheMenu_data() { rowsOf("how", {"refused", "cancelled", "granted"}); }
    void signInFromTheMenu() {
        QFETCH(const QString, how);
        if (how == u"refused")
            control_.next({{u"path"_qs, u"/functions/v1/oauth/token"_qs}, {u"status"_qs, 500}});
        if (how == u"cancelled")
            control_.hold(u"/oauth/authorize"_qs);
        item(u"Sign In with Passhold"_qs).trigger();
        QVERIFY(comesTrue([this] { return signInSheet(); }));
        if (how == u"cancelled")
            signInSheet()->close();
        QVERIFY(comesTrue([this] { return !model().auth().isSigningIn(); }));
        control_.releaseAll();
        const bool granted = how == u"granted";
        QCOMPARE(model().auth().isSignedIn(), granted);
        QCOMPARE(window().page(), granted ? MainWindow::Page::Chats : MainWindow::Page::SignIn);
        QCOMPARE(model().toast(), how == u"refused" ? *model().auth().lastError() : QString());
        model().show({});
        if (!granted)
            return;
        QVERIFY(pageIsReady());
        QVERIFY(comesTrue([this] { return !signInSheet(); }));
        window().activateWindow();
        QVERIFY(answer(u"Show me a table"_qs));
        chat_ = *model().selection();
    }

    void menuItem_data() {
        const auto row = columns<Act, Holds>("before", "holds");
        const Act nothing = [] {};
        // The window comes back for these.
        const Act closed = [this] { window().close(); };
        const auto withCard = [this](const char* title) {
            return Holds([this, name = QString::fromUtf8(title)] { return card(name) != nullptr; });
        };
        const auto browsed = [this](const char* path) {
            return Holds([this, end = QString::fromLatin1(path)] { return browsed_.path() == end; });
        };
        const auto zoomed = [this](double factor) {
            return Holds([this, factor] { return qFuzzyCompare(view().zoomFactor(), factor); });
        };
        row("New Chat", closed, [this] { return !model().selection() && composer().hasFocus(); });
        row("New Private Chat", closed, [this] { return model().isPrivateShown(); });
        row("New Folder…", closed, withCard("New folder"));
        row("Settings…", nothing, [this] { return settings() && settings()->tab() == SettingsTab::General; });
        for (const char* title : {"Find…", "Find Next", "Find Previous"})
            row(title, nothing, [this] { return shows<QWidget>("findBar"); });
        row("Search Chats", nothing,
            [this] { return window().focusWidget()->objectName() == u"sidebarSearch"; });
        row("Hide Sidebar", nothing, [this] { return window().sidebar().isHidden(); });
        row("Zoom In", nothing, zoomed(1.1));
        row("Zoom Out", nothing, zoomed(0.9));
        row(
            "Actual Size", [this] { item(u"Zoom In"_qs).trigger(); }, zoomed(1));
        row(
            "Scroll to End",
            [this] {
                QVERIFY(answer(u"long"_qs));
                QVERIFY(comesTrue([this] { return pageHolds(u"scrollY > 2 * innerHeight"_qs); }));
                // A hand's move, which what the page still draws does not take back.
                view().setFocus();
                QTest::keyClick(view().focusProxy(), Qt::Key_Home);
                QVERIFY(comesTrue([this] { return pageHolds(u"scrollY === 0"_qs); }));
            },
            [this] {
                return pageHolds(u"scrollY > 100 && scrollY + innerHeight >= "
                                 "document.documentElement.scrollHeight - 2"_qs);
            });
        row("Enter Full Screen", nothing, [this] { return window().isFullScreen(); });
        row(
            "Stop Answer",
            [this] {
                control_.hold(chatPath, 400);
                model().send(u"long"_qs);
            },
            [this] { return !model().isBusy(); });
        row(
            "Ask Again",
            [this] {
                control_.releaseAll();
                control_.hold(chatPath, 0);
            },
            [this] { return model().isBusy(); });
        row(
            "Copy Last Answer",
            [this] {
                control_.releaseAll();
                QVERIFY(comesTrue([this] { return !model().isBusy(); }));
            },
            [this] {
                return QGuiApplication::clipboard()->text() ==
                           model().selectedChat()->messages.last().content &&
                       window().toast().accessibleName() == u"Copied";
            });
        row("Attach Files…", closed, [this] { return shows<QDialog>("attachPanel"); });
        row("Rename Chat…", closed, withCard("Rename chat"));
        row("Delete Chat…", closed, withCard("Delete this chat?"));
        row("Credits…", closed, withCard("Credits"));
        row("API Keys…", closed, withCard("API Keys"));
        row("Where Requests Went…", closed, [this] { return shows<ModalCard>("routesSheet"); });
        row("Privacy and Models…", nothing,
            [this] { return settings() && settings()->tab() == SettingsTab::Privacy; });
        row("Teskal Help", nothing, browsed("/docs"));
        row("API Documentation", nothing, browsed("/docs/api-chat"));
        row("Status", nothing, browsed("/status"));
        row("Minimize", nothing, [this] { return window().isMinimized(); });
        row("Close Window", nothing, [this] { return !window().isVisible(); });
    }
    void menuItem() {
        FETCH(Act, before, Holds, holds);
        before();
        runQueued();
        QVERIFY2(!holds(), "it is the item that does it");
        tried_.append(QString::fromUtf8(QTest::currentDataTag()));
        QVERIFY(actAndWait([this] { item(tried_.last()).trigger(); }, holds));
        if (tried_.last() == u"Stop Answer")
            QVERIFY(!model().selectedChat()->messages.last().pending);
    }

    void everyMenuItemIsTried() {
        if (tried_.isEmpty())
            QSKIP("the test before was not run");
        // Those of Edit act on what has the focus, and the last two end what this test needs.
        tried_ += {u"Undo"_qs, u"Redo"_qs,     u"Cut"_qs,
                   u"Copy"_qs, u"Paste"_qs,    u"Select All"_qs,
                   u"Quit"_qs, u"Sign Out"_qs, u"Sign In with Passhold"_qs};
        for (const QAction* entry : items())
            QVERIFY2(tried_.contains(entry->text()), qPrintable(entry->text()));
    }

    void zoomStaysWhenThePageIsLoadedAnew() {
        item(u"Zoom In"_qs).trigger();
        killPage();
        QVERIFY(pageIsReady());
        QVERIFY(qFuzzyCompare(view().zoomFactor(), 1.1));
        const QString width = u"innerWidth"_qs;
        const int zoomed = script(width).toInt();
        item(u"Actual Size"_qs).trigger();
        QVERIFY(comesTrue([&] { return script(width).toInt() > zoomed; }));
    }

    /// From the composer through everything there is in the order in which it is seen, the page's own buttons
    /// and links among it, and back.
    void tabGoesAroundTheWindow() {
        QStringList stops;
        QWidget* const page = view().focusProxy();
        int pressesInPage = 0;
        for (int presses = 0; presses < 400 && (presses == 0 || !composer().hasFocus()); ++presses) {
            QWidget* const from = window().focusWidget();
            if (from != page) {
                stops.append(from->objectName());
                QTest::keyClick(from, Qt::Key_Tab);
                continue;
            }
            const QString at = u"[...document.querySelectorAll('*')].indexOf(document.activeElement)"_qs;
            const int before = script(at).toInt();
            QTest::keyClick(page, Qt::Key_Tab);
            QVERIFY(comesTrue([&] { return !page->hasFocus() || script(at).toInt() != before; }));
            if (++pressesInPage == 1)
                stops.append(u"page"_qs);
        }
        QVERIFY2(composer().hasFocus(), "the way leads around");
        QVERIFY2(pressesInPage > 2, "through what the page offers");
        QCOMPARE(
            stops.join(u' '),
            u"composerText attachButton dictateButton sidebarSearch newFolderButton sidebarNewChat chatList "
            "accountFooter sidebarEdge sidebarButton newPrivateChatButton newChatButton page"_qs);
    }

    void whatFillsTheTranscriptFillsTheScreen() {
        QWidget* const page = view().focusProxy();
        const auto fills = [&](bool full) {
            return comesTrue([&] {
                return window().isFullScreen() == full && composer().isVisible() != full &&
                       script(u"document.fullscreenElement !== null"_qs).toBool() == full;
            });
        };
        // The engine grants it in answer to the user's hand alone, and a click takes a while to get there.
        const auto asks = [&] {
            QTest::mouseClick(page, Qt::LeftButton, {}, {5, 5});
            const bool clicked =
                comesTrue([&] { return script(u"navigator.userActivation.isActive"_qs).toBool(); });
            script(u"document.querySelector('article').requestFullscreen(); 1"_qs);
            return clicked;
        };
        QVERIFY(asks());
        QVERIFY(fills(true));
        QCOMPARE(view().size(), window().size());
        QTest::keyClick(page, Qt::Key_Escape);
        QVERIFY(fills(false));

        QVERIFY(asks());
        QVERIFY(fills(true));
        killPage();
        QVERIFY(comesTrue([this] { return composer().isVisible() && !window().isFullScreen(); }));
        QVERIFY(pageIsReady());
    }

    void stoppingIsForTheSelectedChat() {
        control_.hold(chatPath, 0);
        model().send(u"math"_qs);
        const QAction& stop = item(u"Stop Answer"_qs);
        QVERIFY(stop.isEnabled());
        QVERIFY(shows<QWidget>("stopButton"));
        model().newChat();
        QVERIFY(!stop.isEnabled());
        QVERIFY(!shows<QWidget>("stopButton"));
        QTest::keyClick(&composer(), Qt::Key_Period, Qt::ControlModifier);
        QVERIFY(model().isAnswering(chat_));
        model().select(chat_);
        QTest::keyClick(&composer(), Qt::Key_Period, Qt::ControlModifier);
        QVERIFY(comesTrue([this] { return !model().isAnswering(chat_); }));
        QVERIFY(!stop.isEnabled() && item(u"Ask Again"_qs).isEnabled());
        control_.releaseAll();
    }

    void foldersAreMadeRenamedAndDeleted() {
        FolderStore& folders = model().folders();
        item(u"New Folder…"_qs).trigger();
        type(u"Work"_qs);
        press(Qt::Key_Return);
        QVERIFY(!card(u"New folder"_qs));
        QCOMPARE(folders.folders().size(), 1);
        const Folder made = folders.folders().first();
        QCOMPARE(made.name, u"Work"_qs);
        folders.assign({chat_}, made.id);

        model().prompts().setFolderPrompt(FolderPrompt::rename(made));
        QVERIFY(card(u"Rename folder"_qs));
        type(u"Home"_qs);
        press(Qt::Key_Return);
        QCOMPARE(folders.folders().first().name, u"Home"_qs);

        for (const bool confirms : {false, true}) {
            Q_EMIT window().sidebar().list().deleteFolderRequested(made.id);
            const auto* question = card(u"Delete this folder?"_qs);
            QVERIFY(question);
            QCOMPARE(question->accessibleDescription(),
                     u"“Home” will be deleted on all your devices. The chats in it stay and move "
                     "back to your chat list."_qs);
            QVERIFY(decide(u"Delete this folder?"_qs, confirms));
            QCOMPARE(folders.folders().size(), confirms ? 0 : 1);
        }
        QVERIFY2(model().store().chat(chat_), "the chats in it stay");
    }

    void chatsAreRenamedAndDeleted() {
        item(u"Rename Chat…"_qs).trigger();
        type(u"Trains"_qs);
        press(Qt::Key_Return);
        QCOMPARE(model().selectedChat()->title, u"Trains"_qs);

        QStringList others;
        for (const char* question : {"math", "and again", "a third one"}) {
            model().newChat();
            QVERIFY(answer(QLatin1String(question)));
            others.append(*model().selection());
        }
        for (const bool confirms : {false, true}) {
            item(u"Delete Chat…"_qs).trigger();
            QVERIFY(card(u"Delete this chat?"_qs));
            QCOMPARE(card(u"Delete this chat?"_qs)->accessibleDescription(),
                     u"“A third one” will be removed from this Mac and your other devices. This "
                     "can’t be undone."_qs);
            QVERIFY(decide(u"Delete this chat?"_qs, confirms));
            QCOMPARE(model().selection().has_value(), !confirms);
            QCOMPARE(model().store().chat(others.last()) == nullptr, confirms);
        }
        others.removeLast();
        for (const bool confirms : {false, true}) {
            Q_EMIT window().sidebar().list().deleteChatsRequested(others);
            QVERIFY(decide(u"Delete 2 chats?"_qs, confirms));
            QCOMPARE(model().store().count(), confirms ? 1 : 3);
        }
    }

    void questionsGoWithTheAccount() {
        Q_EMIT window().sidebar().list().deleteChatsRequested({chat_, u"another"_qs});
        QVERIFY(card(u"Delete 2 chats?"_qs));
        item(u"Sign Out"_qs).trigger();
        QVERIFY(!card(u"Delete 2 chats?"_qs));
        QVERIFY(!model().auth().isSignedIn());
        QCOMPARE(window().page(), MainWindow::Page::SignIn);
    }

private:
    QList<QAction*> items() {
        QList<QAction*> found;
        for (const QAction* menu : window().menuBar()->actions())
            for (QAction* entry : menu->menu()->actions())
                if (!entry->isSeparator())
                    found.append(entry);
        return found;
    }

    QAction& item(const QString& title) {
        for (QAction* entry : items())
            if (entry->text() == title)
                return *entry;
        qFatal("no menu item %s", qPrintable(title));
    }

    /// The dialog or sheet over the window that is called \a title; null when none is open.
    ModalCard* card(const QString& title) {
        for (ModalCard* found : window().findChildren<ModalCard*>())
            if (found->isVisible() && found->accessibleName() == title)
                return found;
        return nullptr;
    }

    /// Presses what has the keyboard in a question, or confirms it. False when it is not there, or stays.
    bool decide(const QString& title, bool confirms) {
        if (!card(title))
            return false;
        if (confirms)
            press(Qt::Key_Tab);
        press(Qt::Key_Return);
        return !card(title);
    }

    SettingsWindow* settings() {
        for (QWidget* top : QApplication::topLevelWidgets()) {
            auto* const found = qobject_cast<SettingsWindow*>(top);
            if (found && found->isVisible())
                return found;
        }
        return nullptr;
    }

    bool answer(const QString& question) {
        ask(question);
        return comesTrue([this] { return model().selectedChat() && !model().isBusy(); });
    }

    QStringList tried_;
    QString chat_; ///< with one answer
};

int main(int argc, char* argv[]) {
    return runJourney<TestWindowJourney>(argc, argv);
}

#include "TestWindowJourney.moc"
