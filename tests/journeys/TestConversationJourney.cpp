#include "ServiceControl.h"
#include "WaitUntil.h"

#include "AccountFileName.h"
#include "EngineEnvironment.h"
#include "TeskalApp.h"
#include "TranscriptPage.h"
#include "chat/DetailView.h"
#include "composer/ComposerTextView.h"
#include "composer/ComposerView.h"
#include "sheets/CreditsSheet.h"
#include "signin/SignInView.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDesktopServices>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFile>
#include <QImage>
#include <QJsonObject>
#include <QLabel>
#include <QMimeData>
#include <QTemporaryDir>
#include <QTest>
#include <QWebEngineView>

#include <csignal>

using namespace teskal;
using namespace teskal::test;

namespace {

constexpr std::chrono::seconds patience{30};
const QString chatPath = QStringLiteral("/api/chat");

} // namespace

/// A person's first conversation: real widgets with synthesised keys, the real engine, real HTTP.
class TestConversationJourney : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();

    void signInThroughTheSheet();
    void anAnswerArrivesInTheWindow();
    void whatIsDroppedWaitsInTheComposer();
    void controlPeriodStops();
    void anErrorOffersToAskAgain();
    void missingCreditsLeadToTheCheckout();
    void markupInAnAnswerStaysText();
    void theThemeReachesThePage();
    void findingWhatWasAsked();
    void theConversationSurvivesThePagesProcess();
    void aPageThatKeepsFailingIsReloadedByHand();
    void quittingWritesTheConversation();
    void theNextStartGoesOnWithWhatTheEndInterrupted();
    void signingOutLeavesNothingOnTheScreen();

private:
    QVariant script(const QString& source);
    QString pageText() { return script(QStringLiteral("document.body.textContent")).toString(); }
    bool pageSays(const QString& text) {
        return waitUntil([&] { return pageText().contains(text); }, patience);
    }
    QWidget& composer() { return app_->window().detail().composer().textView(); }
    void launch();
    void ask(const QString& question);
    void killPage();
    bool waitForEnd() {
        return waitUntil([this] { return answer() && !answer()->pending && !app_->model().isBusy(); },
                         patience);
    }
    const ChatMessage* answer() {
        const Chat* chat = app_->model().selectedChat();
        return chat && !chat->messages.isEmpty() ? &chat->messages.last() : nullptr;
    }

    /// Stands where the browser is.
    Q_INVOKABLE void browse(const QUrl& address) { browsed_.append(address); }

    QList<QUrl> browsed_;
    std::unique_ptr<LocalService> service_;
    std::unique_ptr<ServiceControl> control_;
    std::unique_ptr<TeskalApp> app_;
};

void TestConversationJourney::initTestCase() {
    service_ =
        std::make_unique<LocalService>(QStringList{QStringLiteral("--job-seconds"), QStringLiteral("0")});
    control_ = std::make_unique<ServiceControl>(*service_);
    launch();
    QVERIFY(waitUntil([this] { return app_->window().page() == MainWindow::Page::SignIn; }, patience));
}

void TestConversationJourney::launch() {
    app_ = std::make_unique<TeskalApp>(*qApp, *Config::forLocalService(service_->origin().toString()));
    app_->showWindow();
    QVERIFY(waitUntil([this] { return app_->page() != nullptr; }, patience));
}

void TestConversationJourney::cleanupTestCase() {
    app_.reset();
}

QVariant TestConversationJourney::script(const QString& source) {
    std::optional<QVariant> result;
    app_->page()->page().runJavaScript(source, [&result](const QVariant& value) { result = value; });
    return waitUntil([&result] { return result.has_value(); }, patience) ? *result : QVariant();
}

void TestConversationJourney::ask(const QString& question) {
    composer().setFocus();
    QTest::keyClicks(&composer(), question);
    QTest::keyClick(&composer(), Qt::Key_Return);
}

void TestConversationJourney::signInThroughTheSheet() {
    QWidget* button = app_->window().findChild<QWidget*>(QStringLiteral("signInButton"));
    QVERIFY(button);
    QTest::mouseClick(button, Qt::LeftButton);
    QVERIFY(waitUntil([this] { return app_->window().page() == MainWindow::Page::Chats; }, patience));
    QVERIFY(waitUntil([this] { return app_->model().transcript().isReady(); }, patience));
    QVERIFY(waitUntil([this] { return !app_->signInSheet().sheet(); }, patience));
    QCOMPARE(app_->window().focusWidget(), &composer());
    // Where no window manager runs, nobody makes the window active again when its dialog is gone.
    app_->window().activateWindow();
    QVERIFY(waitUntil([this] { return app_->window().isActiveWindow(); }));
}

void TestConversationJourney::anAnswerArrivesInTheWindow() {
    ask(QStringLiteral("Show me a table"));
    QVERIFY(waitForEnd());
    QVERIFY(!answer()->error);
    QVERIFY(pageSays(QStringLiteral("Show me a table")));
    QVERIFY(script(QStringLiteral("document.querySelectorAll('article table').length")).toInt() > 0);
    // Which model answered stands under the answer.
    QVERIFY(pageSays(*answer()->route->member(QStringLiteral("name")).string()));
}

void TestConversationJourney::whatIsDroppedWaitsInTheComposer() {
    QTemporaryDir folder;
    QFile file(folder.filePath(QStringLiteral("a.png")));
    QVERIFY(file.open(QFile::WriteOnly) && file.write("Content") > 0);
    file.close();
    QMimeData files;
    files.setUrls({QUrl::fromLocalFile(file.fileName())});
    QMimeData image;
    image.setImageData(QImage(2, 2, QImage::Format_RGB32));
    for (QMimeData* dropped : {&files, &image}) {
        app_->window().findChild<QWebEngineView*>()->setFocus();
        QVERIFY(!composer().hasFocus());
        QDragEnterEvent enter({5, 5}, Qt::CopyAction, dropped, Qt::LeftButton, {});
        QCoreApplication::sendEvent(&app_->window().detail(), &enter);
        QDropEvent drop({5, 5}, Qt::CopyAction, dropped, Qt::LeftButton, {});
        QCoreApplication::sendEvent(&app_->window().detail(), &drop);
        QVERIFY(composer().hasFocus());
    }
    QVERIFY(waitUntil([this] { return !app_->model().draftFiles().last().preparing; }));
    QCOMPARE(app_->model().draftFiles().first().name, QStringLiteral("a.png"));
    QCOMPARE(app_->model().draftFiles().last().name, QStringLiteral("Dropped image.png"));
    while (!app_->model().draftFiles().isEmpty())
        app_->model().removeDraftFile(app_->model().draftFiles().first().number);
}

void TestConversationJourney::controlPeriodStops() {
    control_->hold(chatPath, 400);
    ask(QStringLiteral("long"));
    QVERIFY(waitUntil([this] { return answer()->pending && !answer()->content.isEmpty(); }, patience));
    QVERIFY(waitUntil(
        [this] { return script(QStringLiteral("document.querySelectorAll('article').length")).toInt() == 4; },
        patience));
    QTest::keyClick(&composer(), Qt::Key_Period, Qt::ControlModifier);
    QVERIFY(waitForEnd());
    QVERIFY(!answer()->error); // what had come stays as the answer
    QVERIFY(!answer()->content.isEmpty());
    QVERIFY(control_->wait(chatPath, QStringLiteral("finished"), 2));
    control_->releaseAll();
}

void TestConversationJourney::anErrorOffersToAskAgain() {
    control_->next(QJsonObject{
        {QStringLiteral("path"), chatPath},
        {QStringLiteral("status"), 500},
        {QStringLiteral("json"), QJsonObject{{QStringLiteral("error"), QStringLiteral("Too busy.")}}}});
    ask(QStringLiteral("math"));
    QVERIFY(waitForEnd());
    QVERIFY(answer()->error);
    QVERIFY(pageSays(QStringLiteral("Too busy.")));
    QCOMPARE(script(QStringLiteral("document.querySelector('.error-card button').ariaLabel")).toString(),
             QStringLiteral("Ask again"));
    script(QStringLiteral("document.querySelector('.error-card button').click()"));
    QVERIFY(waitUntil([this] { return answer()->pending || !answer()->error; }, patience));
    QVERIFY(waitForEnd());
    QVERIFY(!answer()->error);
    QVERIFY(waitUntil([this] { return !pageText().contains(QStringLiteral("Too busy.")); }, patience));
}

void TestConversationJourney::missingCreditsLeadToTheCheckout() {
    control_->next(
        QJsonObject{{QStringLiteral("path"), chatPath},
                    {QStringLiteral("status"), 402},
                    {QStringLiteral("json"),
                     QJsonObject{{QStringLiteral("error"), QStringLiteral("You’re out of credits.")},
                                 {QStringLiteral("code"), QStringLiteral("INSUFFICIENT_CREDITS")}}}});
    ask(QStringLiteral("math"));
    QVERIFY(waitForEnd());
    QVERIFY(pageSays(QStringLiteral("You’re out of credits.")));
    QWidget& window = app_->window();
    auto* page = window.findChild<QWebEngineView*>();
    page->setFocus();
    QWidget* const focus = window.focusWidget();
    script(QStringLiteral("document.querySelector('.error-card button').click()"));
    CreditsSheet& sheet = app_->window().credits();
    QVERIFY(waitUntil([&] { return sheet.isVisible() && sheet.hasFocus(); }, patience));
    const auto* balance = sheet.findChild<QLabel*>(QStringLiteral("creditsBalance"));
    QVERIFY(waitUntil([&] { return balance->isVisible() && !balance->text().isEmpty(); }, patience));

    QDesktopServices::setUrlHandler(QStringLiteral("http"), this, "browse");
    QTest::keyClick(window.focusWidget(), Qt::Key_Return);
    const auto* status = sheet.findChild<QLabel*>(QStringLiteral("creditsStatus"));
    QCOMPARE(status->text(), QStringLiteral("Opening checkout…"));
    QVERIFY(waitUntil([&] { return !browsed_.isEmpty(); }, patience));
    QDesktopServices::unsetUrlHandler(QStringLiteral("http"));
    QCOMPARE(browsed_.first().path(), QStringLiteral("/checkout"));
    QCOMPARE(status->text(), QStringLiteral("Checkout opens in your browser."));
    QTest::keyClick(window.focusWidget(), Qt::Key_Escape);
    QVERIFY(sheet.isHidden() && !app_->model().sheet());
    QCOMPARE(window.focusWidget(), focus);
}

void TestConversationJourney::markupInAnAnswerStaysText() {
    const QByteArray hostile =
        "before <img src=x onerror=\"window.reached = 1\"> "
        "[link](javascript:window.reached=2) ![far](https://example.org/a.png)\n\n"
        "<script>window.reached = 3</script>\n\n<iframe src=\"https://example.org\"></iframe>";
    control_->next(QJsonObject{{QStringLiteral("path"), chatPath},
                               {QStringLiteral("rawStream"), QString::fromLatin1(hostile.toBase64())}});
    ask(QStringLiteral("anything"));
    QVERIFY(waitForEnd());
    QVERIFY(pageSays(QStringLiteral("<script>window.reached = 3</script>")));
    QVERIFY(!script(QStringLiteral("window.reached")).isValid());
    QCOMPARE(script(QStringLiteral("document.querySelectorAll('article img, article iframe, article script, "
                                   "article a[href^=javascript]').length"))
                 .toInt(),
             0);
}

void TestConversationJourney::theThemeReachesThePage() {
    const QString theme = QStringLiteral("document.documentElement.dataset.theme");
    for (const auto& [appearance, name] : {std::pair{Appearance::Dark, QStringLiteral("dark")},
                                           std::pair{Appearance::Light, QStringLiteral("light")}}) {
        app_->theme().setAppearance(appearance);
        QVERIFY2(waitUntil([&] { return script(theme).toString() == name; }, patience), qPrintable(name));
    }
}

void TestConversationJourney::findingWhatWasAsked() {
    composer().setFocus();
    QTest::keyClick(&composer(), Qt::Key_F, Qt::ControlModifier);
    QWidget* const bar = app_->window().findChild<QWidget*>(QStringLiteral("findBar"));
    const auto* count = bar->findChild<QLabel*>(QStringLiteral("findCount"));
    QVERIFY(bar->isVisible());
    QTest::keyClicks(app_->window().focusWidget(), QStringLiteral("show me a TABLE"));
    QVERIFY(waitUntil([&] { return count->text() == QLatin1String("1 of 1"); }, patience));
    QTest::keyClicks(app_->window().focusWidget(), QStringLiteral("!"));
    QVERIFY(waitUntil([&] { return count->text() == QLatin1String("No results"); }, patience));
    QTest::keyClick(app_->window().focusWidget(), Qt::Key_Escape);
    QVERIFY(!bar->isVisible());
    QCOMPARE(app_->window().focusWidget(), &composer());
}

void TestConversationJourney::killPage() {
    const auto process = app_->page()->page().renderProcessPid();
    QVERIFY(process > 0);
    QCOMPARE(::kill(pid_t(process), SIGKILL), 0);
    QVERIFY(waitUntil([this] { return !app_->model().transcript().isReady(); }, patience));
}

void TestConversationJourney::theConversationSurvivesThePagesProcess() {
    killPage();
    QVERIFY(waitUntil([this] { return app_->model().transcript().isReady(); }, patience));
    QVERIFY(pageSays(QStringLiteral("Show me a table")));
}

void TestConversationJourney::aPageThatKeepsFailingIsReloadedByHand() {
    auto* reload = app_->window().findChild<QAbstractButton*>(QStringLiteral("reloadButton"));
    const auto settled = [&] { return reload->isVisible() || app_->model().transcript().isReady(); };
    for (int time = 0; time < 3 && !reload->isVisible(); ++time) {
        killPage();
        QVERIFY(waitUntil(settled, patience));
    }
    QVERIFY(reload->isVisible());
    QVERIFY(!app_->model().transcript().isReady());
    QTest::mouseClick(reload, Qt::LeftButton);
    QVERIFY(waitUntil([this] { return app_->model().transcript().isReady(); }, patience));
    QVERIFY(!reload->isVisible());
    QVERIFY(pageSays(QStringLiteral("Show me a table")));
}

void TestConversationJourney::quittingWritesTheConversation() {
    ask(QStringLiteral("And this is the last question before the end"));
    QVERIFY(waitForEnd());
    const QString owner = *app_->model().store().owner();
    app_->quit();
    const auto config = *Config::forLocalService(service_->origin().toString());
    QFile file(AppFolders::forUser(config.storageSuffix).chats + QLatin1Char('/') + accountFileName(owner) +
               QStringLiteral(".json"));
    QVERIFY2(file.open(QIODevice::ReadOnly), qPrintable(file.fileName()));
    const QList<Chat> chats = decodeChats(file.readAll());
    QCOMPARE(chats.size(), 1);
    QCOMPARE(chats.first(), *app_->model().selectedChat());
}

void TestConversationJourney::theNextStartGoesOnWithWhatTheEndInterrupted() {
    app_.reset(); // it has quit
    launch();
    QVERIFY(waitUntil([this] { return app_->window().page() == MainWindow::Page::Chats; }, patience));
    app_->model().newChat();
    control_->hold(QStringLiteral("/api/video")); // it is not done before the end
    ask(QStringLiteral("Make a video"));
    QVERIFY(waitForEnd());
    const QString filmed = *app_->model().selection();
    app_->model().newChat();
    control_->hold(chatPath);
    ask(QStringLiteral("This one comes too late"));
    QVERIFY(control_->wait(chatPath, QStringLiteral("held")));
    const QString late = *app_->model().selection();
    QCOMPARE(app_->model().store().chat(filmed)->messages.last().media->status.value(),
             QStringLiteral("pending"));
    app_->quit();
    app_.reset();
    control_->releaseAll();

    launch();
    QVERIFY(waitUntil([this] { return app_->window().page() == MainWindow::Page::Chats; }, patience));
    app_->model().select(late);
    QVERIFY(pageSays(QStringLiteral("Stopped when Teskal quit.")));
    app_->model().select(filmed);
    QVERIFY(waitUntil([this] { return answer()->media->status == QStringLiteral("done"); }, patience));
    QVERIFY(waitUntil(
        [this] { return script(QStringLiteral("document.querySelectorAll('video').length")).toInt() == 1; },
        patience));
}

void TestConversationJourney::signingOutLeavesNothingOnTheScreen() {
    app_->model().setSheet(Sheet::Credits);
    QVERIFY(!app_->window().credits().isHidden());
    app_->model().signOut();
    QVERIFY(app_->window().credits().isHidden());
    QCOMPARE(app_->window().page(), MainWindow::Page::SignIn);
    QVERIFY(waitUntil([this] { return !pageText().contains(QStringLiteral("Show me a table")); }, patience));
    QCOMPARE(app_->model().store().count(), 0);
}

int main(int argc, char* argv[]) {
    prepareEngineEnvironment();
    QApplication application(argc, argv);
    TestConversationJourney test;
    return QTest::qExec(&test, argc, argv);
}

#include "TestConversationJourney.moc"
