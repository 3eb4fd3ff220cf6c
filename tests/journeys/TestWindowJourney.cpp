#include "ServiceControl.h"
#include "WaitUntil.h"

#include "EngineEnvironment.h"
#include "SignInSheet.h"
#include "TeskalApp.h"
#include "TeskalCommands.h"
#include "TranscriptPage.h"
#include "chat/DetailView.h"
#include "composer/ComposerTextView.h"
#include "composer/ComposerView.h"
#include "controls/ModalCard.h"
#include "controls/ToastView.h"
#include "settings/SettingsWindow.h"
#include "sidebar/SidebarTree.h"
#include "sidebar/SidebarView.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QDesktopServices>
#include <QJsonObject>
#include <QMenu>
#include <QMenuBar>
#include <QTest>
#include <QWebEngineView>

#include <csignal>

using namespace teskal;
using namespace teskal::test;

using Act = std::function<void()>;
using Holds = std::function<bool()>;
Q_DECLARE_METATYPE(Act)
Q_DECLARE_METATYPE(Holds)

namespace {

constexpr std::chrono::seconds patience{20};
const QString chatPath = QStringLiteral("/api/chat");
const QString tokenPath = QStringLiteral("/functions/v1/oauth/token");

} // namespace

/// The window of the real application: what its menu items, dialogs and keys do.
class TestWindowJourney : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanupTestCase() { app_.reset(); }

    void signInFromTheMenu_data();
    void signInFromTheMenu();
    void menuItem_data();
    void menuItem();
    void everyMenuItemIsTried();
    void zoomStaysWhenThePageIsLoadedAnew();
    void tabGoesAroundTheWindow();
    void stoppingIsForTheSelectedChat();
    void foldersAreMadeRenamedAndDeleted();
    void chatsAreRenamedAndDeleted();
    void questionsGoWithTheAccount();

private:
    MainWindow& window() { return app_->window(); }
    AppModel& model() { return app_->model(); }
    QWebEngineView& view() { return *window().findChild<QWebEngineView*>(); }
    QWidget& composer() { return window().detail().composer().textView(); }
    QList<QAction*> items();
    QAction& item(const QString& title);
    /// The dialog or sheet over the window that is called \a title; null when none is open.
    ModalCard* card(const QString& title);
    SettingsWindow* settings();
    template<class Widget>
    bool shows(const char* name) {
        const auto* found = window().findChild<Widget*>(QLatin1String(name));
        return found && found->isVisible();
    }
    void press(Qt::Key key) { QTest::keyClick(window().focusWidget(), key); }
    bool answer(const QString& question);
    QVariant script(const QString& source);

    /// Stands where the browser is.
    Q_INVOKABLE void browse(const QUrl& address) { browsed_ = address; }

    QUrl browsed_;
    QStringList tried_;
    QString chat_; ///< with one answer
    std::unique_ptr<LocalService> service_;
    std::unique_ptr<ServiceControl> control_;
    std::unique_ptr<TeskalApp> app_;
};

void TestWindowJourney::initTestCase() {
    service_ = std::make_unique<LocalService>();
    control_ = std::make_unique<ServiceControl>(*service_);
    app_ = std::make_unique<TeskalApp>(*qApp, *Config::forLocalService(service_->origin().toString()));
    app_->showWindow();
    QVERIFY(waitUntil([this] { return app_->page() != nullptr; }, patience));
    QVERIFY(waitUntil([this] { return window().page() == MainWindow::Page::SignIn; }, patience));
}

/// Whatever the test before has left open is closed, and the chat is selected.
void TestWindowJourney::init() {
    if (SettingsWindow* const open = settings())
        open->close();
    if (auto* const panel = window().findChild<QDialog*>(QStringLiteral("attachPanel")))
        panel->reject();
    for (ModalCard* open : window().findChildren<ModalCard*>())
        Q_EMIT open->escaped();
    if (window().isFullScreen())
        item(QStringLiteral("Exit Full Screen")).trigger();
    window().present();
    QVERIFY(waitUntil([this] { return window().isActiveWindow() && !window().isMinimized(); }, patience));
    QVERIFY(waitUntil([this] { return !window().isFullScreen(); }, patience));
    if (model().auth().isSignedIn()) {
        if (window().sidebar().isHidden())
            item(QStringLiteral("Show Sidebar")).trigger();
        item(QStringLiteral("Actual Size")).trigger();
        model().select(chat_.isEmpty() ? std::nullopt : std::optional(chat_));
        press(Qt::Key_Escape); // the find bar
        composer().setFocus();
    }
    browsed_.clear();
}

QList<QAction*> TestWindowJourney::items() {
    QList<QAction*> found;
    for (const QAction* menu : window().menuBar()->actions()) {
        for (QAction* entry : menu->menu()->actions()) {
            if (!entry->isSeparator())
                found.append(entry);
        }
    }
    return found;
}

QAction& TestWindowJourney::item(const QString& title) {
    for (QAction* entry : items()) {
        if (entry->text() == title)
            return *entry;
    }
    qFatal("no menu item %s", qPrintable(title));
}

ModalCard* TestWindowJourney::card(const QString& title) {
    for (ModalCard* found : window().findChildren<ModalCard*>()) {
        if (found->isVisible() && found->accessibleName() == title)
            return found;
    }
    return nullptr;
}

SettingsWindow* TestWindowJourney::settings() {
    for (QWidget* top : QApplication::topLevelWidgets()) {
        auto* const found = qobject_cast<SettingsWindow*>(top);
        if (found && found->isVisible())
            return found;
    }
    return nullptr;
}

bool TestWindowJourney::answer(const QString& question) {
    composer().setFocus();
    QTest::keyClicks(&composer(), question);
    QTest::keyClick(&composer(), Qt::Key_Return);
    return waitUntil([this] { return model().selectedChat() && !model().isBusy(); }, patience);
}

QVariant TestWindowJourney::script(const QString& source) {
    std::optional<QVariant> result;
    app_->page()->page().runJavaScript(source, [&result](const QVariant& value) { result = value; });
    return waitUntil([&result] { return result.has_value(); }, patience) ? *result : QVariant();
}

void TestWindowJourney::signInFromTheMenu_data() {
    QTest::addColumn<QString>("how");
    for (const char* how : {"refused", "cancelled", "granted"})
        QTest::newRow(how) << QString::fromLatin1(how);
}

void TestWindowJourney::signInFromTheMenu() {
    QFETCH(const QString, how);
    if (how == QLatin1String("refused"))
        control_->next(QJsonObject{{QStringLiteral("path"), tokenPath}, {QStringLiteral("status"), 500}});
    if (how == QLatin1String("cancelled"))
        control_->hold(QStringLiteral("/oauth/authorize"));
    item(QStringLiteral("Sign In with Passhold")).trigger();
    QVERIFY(waitUntil([this] { return app_->signInSheet().sheet(); }, patience));
    if (how == QLatin1String("cancelled"))
        app_->signInSheet().sheet()->close();
    QVERIFY(waitUntil([this] { return !model().auth().isSigningIn(); }, patience));
    control_->releaseAll();
    const bool granted = how == QLatin1String("granted");
    QCOMPARE(model().auth().isSignedIn(), granted);
    QCOMPARE(window().page(), granted ? MainWindow::Page::Chats : MainWindow::Page::SignIn);
    QCOMPARE(model().toast(), how == QLatin1String("refused") ? *model().auth().lastError() : QString());
    model().show({});
    if (!granted)
        return;
    QVERIFY(waitUntil([this] { return model().transcript().isReady(); }, patience));
    QVERIFY(waitUntil([this] { return !app_->signInSheet().sheet(); }, patience));
    window().activateWindow();
    QVERIFY(answer(QStringLiteral("Show me a table")));
    chat_ = *model().selection();
}

void TestWindowJourney::menuItem_data() {
    QTest::addColumn<Act>("before");
    QTest::addColumn<Holds>("holds");
    const auto row = [](
                         const char* title, const Holds& holds, const Act& before = [] {}) {
        QTest::newRow(title) << before << holds;
    };
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
    row(
        "New Chat", [this] { return !model().selection() && composer().hasFocus(); }, closed);
    row(
        "New Private Chat", [this] { return model().isPrivateShown(); }, closed);
    row("New Folder…", withCard("New folder"), closed);
    row("Settings…", [this] { return settings() && settings()->tab() == SettingsTab::General; });
    for (const char* title : {"Find…", "Find Next", "Find Previous"})
        row(title, [this] { return shows<QWidget>("findBar"); });
    row("Search Chats",
        [this] { return window().focusWidget()->objectName() == QLatin1String("sidebarSearch"); });
    row("Hide Sidebar", [this] { return window().sidebar().isHidden(); });
    row("Zoom In", zoomed(1.1));
    row("Zoom Out", zoomed(0.9));
    row("Actual Size", zoomed(1), [this] { item(QStringLiteral("Zoom In")).trigger(); });
    row(
        "Scroll to End",
        [this] {
            return script(QStringLiteral("scrollY > 100 && scrollY + innerHeight >= "
                                         "document.documentElement.scrollHeight - 2"))
                .toBool();
        },
        [this] {
            QVERIFY(answer(QStringLiteral("long")));
            QVERIFY(waitUntil(
                [this] {
                    return script(QStringLiteral("scrollTo(0, 0), document.documentElement.scrollHeight > "
                                                 "2 * innerHeight && scrollY === 0"))
                        .toBool();
                },
                patience));
        });
    row("Enter Full Screen", [this] { return window().isFullScreen(); });
    row(
        "Stop Answer", [this] { return !model().isBusy(); },
        [this] {
            control_->hold(chatPath, 400);
            model().send(QStringLiteral("long"));
        });
    row(
        "Ask Again", [this] { return model().isBusy(); },
        [this] {
            control_->releaseAll();
            control_->hold(chatPath, 0);
        });
    row(
        "Copy Last Answer",
        [this] {
            return QGuiApplication::clipboard()->text() == model().selectedChat()->messages.last().content &&
                   window().toast().accessibleName() == QLatin1String("Copied");
        },
        [this] {
            control_->releaseAll();
            QVERIFY(waitUntil([this] { return !model().isBusy(); }, patience));
        });
    row(
        "Attach Files…", [this] { return shows<QDialog>("attachPanel"); }, closed);
    row("Rename Chat…", withCard("Rename chat"), closed);
    row("Delete Chat…", withCard("Delete this chat?"), closed);
    row("Credits…", withCard("Credits"), closed);
    row("API Keys…", withCard("API Keys"), closed);
    row(
        "Where Requests Went…", [this] { return shows<ModalCard>("routesSheet"); }, closed);
    row("Privacy and Models…", [this] { return settings() && settings()->tab() == SettingsTab::Privacy; });
    row("Teskal Help", browsed("/docs"));
    row("API Documentation", browsed("/docs/api-chat"));
    row("Status", browsed("/status"));
    row("Minimize", [this] { return window().isMinimized(); });
    row("Close Window", [this] { return !window().isVisible(); });
}

void TestWindowJourney::menuItem() {
    QFETCH(const Act, before);
    QFETCH(const Holds, holds);
    before();
    runQueued();
    QVERIFY2(!holds(), "it is the item that does it");
    tried_.append(QString::fromUtf8(QTest::currentDataTag()));
    QDesktopServices::setUrlHandler(QStringLiteral("http"), this, "browse");
    item(QString::fromUtf8(QTest::currentDataTag())).trigger();
    const bool held = waitUntil(holds, patience);
    QDesktopServices::unsetUrlHandler(QStringLiteral("http"));
    QVERIFY(held);
    if (QLatin1String(QTest::currentDataTag()) == QLatin1String("Stop Answer"))
        QVERIFY(!model().selectedChat()->messages.last().pending);
}

void TestWindowJourney::everyMenuItemIsTried() {
    if (tried_.isEmpty())
        QSKIP("the test before was not run");
    // Those of Edit act on what has the focus, and the last two end what this test needs.
    tried_ += {QStringLiteral("Undo"), QStringLiteral("Redo"),     QStringLiteral("Cut"),
               QStringLiteral("Copy"), QStringLiteral("Paste"),    QStringLiteral("Select All"),
               QStringLiteral("Quit"), QStringLiteral("Sign Out"), QStringLiteral("Sign In with Passhold")};
    for (const QAction* entry : items())
        QVERIFY2(tried_.contains(entry->text()), qPrintable(entry->text()));
}

void TestWindowJourney::zoomStaysWhenThePageIsLoadedAnew() {
    item(QStringLiteral("Zoom In")).trigger();
    QCOMPARE(::kill(pid_t(app_->page()->page().renderProcessPid()), SIGKILL), 0);
    QVERIFY(waitUntil([this] { return !model().transcript().isReady(); }, patience));
    QVERIFY(waitUntil([this] { return model().transcript().isReady(); }, patience));
    QVERIFY(qFuzzyCompare(view().zoomFactor(), 1.1));
    const QString width = QStringLiteral("innerWidth");
    const int zoomed = script(width).toInt();
    item(QStringLiteral("Actual Size")).trigger();
    QVERIFY(waitUntil([&] { return script(width).toInt() > zoomed; }, patience));
}

/// From the composer through everything there is in the order in which it is seen, the page's own buttons and
/// links among it, and back.
void TestWindowJourney::tabGoesAroundTheWindow() {
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
        const QString at =
            QStringLiteral("[...document.querySelectorAll('*')].indexOf(document.activeElement)");
        const int before = script(at).toInt();
        QTest::keyClick(page, Qt::Key_Tab);
        QVERIFY(waitUntil([&] { return !page->hasFocus() || script(at).toInt() != before; }, patience));
        if (++pressesInPage == 1)
            stops.append(QStringLiteral("page"));
    }
    QVERIFY2(composer().hasFocus(), "the way leads around");
    QVERIFY2(pressesInPage > 2, "through what the page offers");
    QCOMPARE(stops, (QStringList{QStringLiteral("composerText"), QStringLiteral("attachButton"),
                                 QStringLiteral("dictateButton"), QStringLiteral("sidebarSearch"),
                                 QStringLiteral("newFolderButton"), QStringLiteral("sidebarNewChat"),
                                 QStringLiteral("chatList"), QStringLiteral("accountFooter"),
                                 QStringLiteral("sidebarButton"), QStringLiteral("newPrivateChatButton"),
                                 QStringLiteral("newChatButton"), QStringLiteral("page")}));
}

void TestWindowJourney::stoppingIsForTheSelectedChat() {
    control_->hold(chatPath, 0);
    model().send(QStringLiteral("math"));
    const QAction& stop = item(QStringLiteral("Stop Answer"));
    QVERIFY(stop.isEnabled());
    QVERIFY(shows<QWidget>("stopButton"));
    model().newChat();
    QVERIFY(!stop.isEnabled());
    QVERIFY(!shows<QWidget>("stopButton"));
    QTest::keyClick(&composer(), Qt::Key_Period, Qt::ControlModifier);
    QVERIFY(model().isAnswering(chat_));
    model().select(chat_);
    QTest::keyClick(&composer(), Qt::Key_Period, Qt::ControlModifier);
    QVERIFY(waitUntil([this] { return !model().isAnswering(chat_); }, patience));
    QVERIFY(!stop.isEnabled() && item(QStringLiteral("Ask Again")).isEnabled());
    control_->releaseAll();
}

void TestWindowJourney::foldersAreMadeRenamedAndDeleted() {
    FolderStore& folders = model().folders();
    item(QStringLiteral("New Folder…")).trigger();
    QTest::keyClicks(window().focusWidget(), QStringLiteral("Work"));
    press(Qt::Key_Return);
    QVERIFY(!card(QStringLiteral("New folder")));
    QCOMPARE(folders.folders().size(), 1);
    const Folder made = folders.folders().first();
    QCOMPARE(made.name, QStringLiteral("Work"));
    folders.assign({chat_}, made.id);

    model().prompts().setFolderPrompt(FolderPrompt::rename(made));
    QVERIFY(card(QStringLiteral("Rename folder")));
    QTest::keyClicks(window().focusWidget(), QStringLiteral("Home"));
    press(Qt::Key_Return);
    QCOMPARE(folders.folders().first().name, QStringLiteral("Home"));

    for (const bool confirms : {false, true}) {
        Q_EMIT window().sidebar().list().deleteFolderRequested(made.id);
        const auto* question = card(QStringLiteral("Delete this folder?"));
        QVERIFY(question);
        QCOMPARE(question->accessibleDescription(),
                 QStringLiteral("“Home” will be deleted on all your devices. The chats in it stay and move "
                                "back to your chat list."));
        if (confirms)
            press(Qt::Key_Tab);
        press(Qt::Key_Return);
        QVERIFY(!card(QStringLiteral("Delete this folder?")));
        QCOMPARE(folders.folders().size(), confirms ? 0 : 1);
    }
    QVERIFY2(model().store().chat(chat_), "the chats in it stay");
}

void TestWindowJourney::chatsAreRenamedAndDeleted() {
    item(QStringLiteral("Rename Chat…")).trigger();
    QTest::keyClicks(window().focusWidget(), QStringLiteral("Trains"));
    press(Qt::Key_Return);
    QCOMPARE(model().selectedChat()->title, QStringLiteral("Trains"));

    QStringList others;
    for (const char* question : {"math", "and again", "a third one"}) {
        model().newChat();
        QVERIFY(answer(QLatin1String(question)));
        others.append(*model().selection());
    }
    for (const bool confirms : {false, true}) {
        item(QStringLiteral("Delete Chat…")).trigger();
        QVERIFY(card(QStringLiteral("Delete this chat?")));
        QCOMPARE(card(QStringLiteral("Delete this chat?"))->accessibleDescription(),
                 QStringLiteral("“A third one” will be removed from this Mac and your other devices. This "
                                "can’t be undone."));
        if (confirms)
            press(Qt::Key_Tab);
        press(Qt::Key_Return);
        QCOMPARE(model().selection().has_value(), !confirms);
        QCOMPARE(model().store().chat(others.last()) == nullptr, confirms);
    }
    others.removeLast();
    for (const bool confirms : {false, true}) {
        Q_EMIT window().sidebar().list().deleteChatsRequested(others);
        QVERIFY(card(QStringLiteral("Delete 2 chats?")));
        if (confirms)
            press(Qt::Key_Tab);
        press(Qt::Key_Return);
        QVERIFY(!card(QStringLiteral("Delete 2 chats?")));
        QCOMPARE(model().store().count(), confirms ? 1 : 3);
    }
}

void TestWindowJourney::questionsGoWithTheAccount() {
    Q_EMIT window().sidebar().list().deleteChatsRequested({chat_, QStringLiteral("another")});
    QVERIFY(card(QStringLiteral("Delete 2 chats?")));
    item(QStringLiteral("Sign Out")).trigger();
    QVERIFY(!card(QStringLiteral("Delete 2 chats?")));
    QVERIFY(!model().auth().isSignedIn());
    QCOMPARE(window().page(), MainWindow::Page::SignIn);
}

int main(int argc, char* argv[]) {
    prepareEngineEnvironment();
    QApplication application(argc, argv);
    TestWindowJourney test;
    return QTest::qExec(&test, argc, argv);
}

#include "TestWindowJourney.moc"
