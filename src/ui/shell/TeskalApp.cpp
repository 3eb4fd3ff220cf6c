#include "TeskalApp.h"

#include "BrowserSignInPanel.h"
#include "Cancelled.h"
#include "Delay.h"
#include "KeychainChoice.h"
#include "PageFinder.h"
#include "PageZoom.h"
#include "SaveDialog.h"
#include "TeskalCommands.h"
#include "TranscriptPage.h"
#include "TranscriptView.h"
#include "TrayIcon.h"
#include "chat/DetailView.h"
#include "chat/FindBar.h"

#include <QApplication>
#include <QClipboard>
#include <QDesktopServices>
#include <QFontDatabase>
#include <QTimer>
#include <QWindow>

namespace teskal {

namespace {

constexpr std::chrono::milliseconds longestStoring{1000};
constexpr std::chrono::milliseconds longestUnseen{1000};

void performInPage(TranscriptPage& page, EditAction action) {
    switch (action) {
    case EditAction::Copy:
        return page.triggerAction(QWebEnginePage::Copy);
    case EditAction::SelectAll:
        return page.triggerAction(QWebEnginePage::SelectAll);
    default:
        return; // nothing in the page can be edited
    }
}

} // namespace

TeskalApp::TeskalApp(QApplication& application, const Config& config)
    : config_(config), folders_(AppFolders::forUser(config.storageSuffix)), http_(clock_),
      keychain_(chooseKeychain(keychainService(config.storageSuffix), folders_.secrets)),
      browser_(BrowserAuthSession::systemBrowser()),
      sheet_(config.storageSuffix, [this] { return window_.get(); }),
      // The desktop starts the installed application, never a trial against a service on this machine.
      linkHandler_(clock_,
                   config.storageSuffix.isEmpty() ? QStringLiteral("app.teskal.mac.desktop") : QString(),
                   QCoreApplication::applicationFilePath()),
      authSession_([this](std::stop_token stop) { return linkHandler_.linksComeHere(std::move(stop)); },
                   browser_, sheet_),
      model_(std::make_unique<AppModel>(services())),
      settings_(QStringLiteral("Teskal"), QStringLiteral("Teskal") + config.storageSuffix),
      notices_(*model_) {
    theme_.install(application);
    settingsBinding_ = std::make_unique<SettingsBinding>(*model_, theme_, settings_);
    window_ = std::make_unique<MainWindow>(theme_, settings_);
    browserPanel_ = std::make_unique<BrowserSignInPanel>(browser_, window_.get());
    binding_ = std::make_unique<WindowBinding>(*model_, *window_);
    connect(binding_.get(), &WindowBinding::quitRequested, this, &TeskalApp::quit);
    bindSettings();
    connect(&theme_, &Theme::changed, this, &TeskalApp::applyTheme);
    connect(model_.get(), &AppModel::answered, this, [this] {
        if (QGuiApplication::applicationState() != Qt::ApplicationActive)
            QApplication::alert(window_.get());
    });
    // The desktop's session may end without giving the event loop another turn.
    connect(&application, &QGuiApplication::commitDataRequest, this, [this] { model_->flush(); });
    connect(&application, &QCoreApplication::aboutToQuit, this, [this] { model_->flush(); });
    connect(&application, &QGuiApplication::applicationStateChanged, this,
            [this](Qt::ApplicationState state) {
                if (state != Qt::ApplicationActive)
                    return;
                model_->refreshBalance(true); // the user may have been where credits are bought
                model_->syncNow();
            });
    application.setQuitOnLastWindowClosed(false); // answers go on without a window
    connect(&notices_, &AnswerNotices::clicked, this, [this](const QString& chatId, const QByteArray& token) {
        model_->openFromOutside(chatId);
        activate(token);
    });
}

TeskalApp::~TeskalApp() {
    model_->transcript().setPage(nullptr);
    // The binding and the views look at the model; the page goes before the profile that it lives in.
    settingsBinding_.reset();
    binding_.reset();
    browserPanel_.reset();
    window_.reset();
}

AppServices TeskalApp::services() {
    return {config_,
            http_,
            clock_,
            *keychain_,
            authSession_,
            folders_.chats,
            folders_.files,
            QCoreApplication::applicationVersion(),
            [](const QString& url) { QDesktopServices::openUrl(QUrl(url)); },
            [](const QString& text) { QGuiApplication::clipboard()->setText(text); },
            &audioPlayer_,
            [this](const QString& name, std::stop_token stop) {
                return askWhereToSave(window_.get(), name, std::move(stop));
            },
            &audioInput_,
            folders_.recordings,
            true};
}

void TeskalApp::showWindow() {
    const bool first = !page_ && !window_->isVisible();
    window_->present();
    if (!first)
        return;
    window_->windowHandle()->installEventFilter(this);
    // A window that is started minimised has no picture for now.
    QTimer::singleShot(longestUnseen, model_.get(), &AppModel::readChats);
}

void TeskalApp::activate(const QByteArray& token) {
    if (!token.isEmpty())
        qputenv("XDG_ACTIVATION_TOKEN", token); // where the platform plugin looks for it
    showWindow();
}

void TeskalApp::newChat() {
    model_->openFromOutside(std::nullopt);
}

bool TeskalApp::eventFilter(QObject* watched, QEvent* event) {
    // The web engine takes longer to start than everything else: the window's first picture comes before it.
    if (event->type() == QEvent::Expose && window_ && watched == window_->windowHandle() && !page_) {
        watched->removeEventFilter(this);
        QTimer::singleShot(0, this, [this] {
            QGuiApplication::sync(); // what was painted may still be on its way to the display
            model_->readChats();
            QTimer::singleShot(0, this,
                               &TeskalApp::createTranscript); // after all that waited for the picture
        });
    }
    return QObject::eventFilter(watched, event);
}

void TeskalApp::createTranscript() {
    page_ = std::make_unique<WebPagePort>(RendererFiles(rendererFolder()), &model_->transcriptFiles());
    auto* view = new TranscriptView(page_->page());
    window_->setTranscript(view, [this](EditAction action) { performInPage(page_->page(), action); });
    connect(page_.get(), &WebPagePort::linkActivated, model_.get(), &AppModel::openLink);
    DetailView& detail = window_->detail();
    connect(page_.get(), &WebPagePort::gaveUp, &detail, [&detail] { detail.setTranscriptLost(true); });
    connect(&detail, &DetailView::reloadRequested, page_.get(), [this] {
        page_->load();
        window_->detail().setTranscriptLost(false);
    });
    bindFinding();
    bindZoom(*view);
    model_->transcript().setPage(page_.get());
    applyTheme();
    page_->setFonts(QApplication::font().family(),
                    QFontDatabase::systemFont(QFontDatabase::FixedFont).family());
    page_->load();
    stayWithoutWindow();
}

void TeskalApp::stayWithoutWindow() {
    tray_ = std::make_unique<TrayIcon>();
    connect(tray_.get(), &TrayIcon::openRequested, this, &TeskalApp::showWindow);
    connect(tray_.get(), &TrayIcon::newChatRequested, this, [this] {
        newChat();
        showWindow();
    });
    connect(tray_.get(), &TrayIcon::quitRequested, this, &TeskalApp::quit);
}

void TeskalApp::bindFinding() {
    finder_ = std::make_unique<PageFinder>(*page_);
    FindBar& bar = window_->detail().findBar();
    connect(&bar, &FindBar::searchChanged, finder_.get(), &PageFinder::search);
    connect(&bar, &FindBar::nextRequested, finder_.get(), &PageFinder::next);
    connect(&bar, &FindBar::previousRequested, finder_.get(), &PageFinder::previous);
    connect(finder_.get(), &PageFinder::counted, &bar, &FindBar::setCount);
}

void TeskalApp::bindZoom(TranscriptView& view) {
    auto* zoom = new PageZoom(view);
    const TeskalCommands& commands = window_->commands();
    connect(&commands, &TeskalCommands::zoomInRequested, zoom, &PageZoom::in);
    connect(&commands, &TeskalCommands::zoomOutRequested, zoom, &PageZoom::out);
    connect(&commands, &TeskalCommands::zoomResetRequested, zoom, &PageZoom::reset);
}

void TeskalApp::bindSettings() {
    SettingsBinding& settings = *settingsBinding_;
    connect(binding_.get(), &WindowBinding::settingsRequested, this, [&settings](const QString& tab) {
        if (tab.isEmpty())
            settings.show();
        else
            settings.show(settingsTabNamed(tab));
    });
    connect(&settings, &SettingsBinding::mainWindowRequested, this, &TeskalApp::showWindow);
    connect(&settings, &SettingsBinding::quitRequested, this, &TeskalApp::quit);
}

void TeskalApp::applyTheme() {
    const PageTheme theme = theme_.ink().dark ? PageTheme::Dark : PageTheme::Light;
    if (page_)
        page_->setFirstLook(theme, theme_.ink().page);
    model_->transcript().setTheme(theme);
}

void TeskalApp::openCallbackLink(const QUrl& link) {
    browser_.deliver(link.toString(QUrl::FullyEncoded));
    showWindow();
}

void TeskalApp::quit() {
    if (std::exchange(quitting_, true))
        return;
    model_->flush();
    window_->close();
    scope_.launch([this](std::stop_token stop) { return storeAndExit(std::move(stop)); });
}

QCoro::Task<void> TeskalApp::storeAndExit(std::stop_token stop) {
    // A keyring that does not answer must not keep the application from ending.
    const auto timer = clock_.after(longestStoring, [] { QCoreApplication::exit(0); });
    const auto stored = model_->auth().stored();
    co_await stored.wait(stop);
    QCoreApplication::exit(0);
}

} // namespace teskal
