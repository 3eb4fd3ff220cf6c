#include "TeskalApp.h"

#include "BrowserSignInPanel.h"
#include "Cancelled.h"
#include "Delay.h"
#include "EngineEnvironment.h"
#include "KeychainChoice.h"
#include "SaveDialog.h"
#include "TeskalCommands.h"
#include "TranscriptPane.h"
#include "TrayIcon.h"
#include "WebParts.h"
#include "chat/DetailView.h"
#include "chat/FindBar.h"
#include "icons/TeskalMark.h"

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
/// From the window's first picture, as a rule.
constexpr std::chrono::milliseconds longestToTranscript{500};

void performIn(TranscriptPane& transcript, EditAction action) {
    switch (action) {
    case EditAction::Copy:
        return transcript.copy();
    case EditAction::SelectAll:
        return transcript.selectAll();
    default:
        return; // nothing in the page can be edited
    }
}

} // namespace

TeskalApp::TeskalApp(QApplication& application, const Config& config, WebParts& web)
    : web_(web), config_(config), folders_(AppFolders::forUser(config.storageSuffix)), http_(clock_),
      keychain_(chooseKeychain(keychainService(config.storageSuffix), folders_.secrets)),
      browser_(BrowserAuthSession::systemBrowser()), sheet_([this] {
          return web_.makeSignInSheet(config_.storageSuffix, [this] { return window_.get(); });
      }),
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
    prepareForEngine(*window_);
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
    http_.hold(); // nothing that the first picture does not need runs before it
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
    window_->present();
    if (std::exchange(wasShown_, true))
        return;
    window_->windowHandle()->installEventFilter(this);
    // A window that is started minimised has no picture for now.
    QTimer::singleShot(longestUnseen, this, &TeskalApp::beginWork);
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
    if (event->type() == QEvent::Expose && window_ && watched == window_->windowHandle()) {
        watched->removeEventFilter(this);
        QTimer::singleShot(0, this, [this] {
            QGuiApplication::sync(); // what was painted may still be on its way to the display
            model_->readChats();     // beside what follows
            QTimer::singleShot(0, this,
                               &TeskalApp::createTranscript); // after all that waited for the picture
        });
    }
    return QObject::eventFilter(watched, event);
}

void TeskalApp::beginWork() {
    model_->readChats();
    http_.release();
}

void TeskalApp::createTranscript() {
    DetailView& detail = window_->detail();
    connect(&detail, &DetailView::reloadRequested, this, &TeskalApp::reloadTranscript);
    reloadTranscript();
    beginWork();
    QApplication::setWindowIcon(TeskalMark::icon());
    QTimer::singleShot(longestToTranscript, this, &TeskalApp::stayWithoutWindow);
}

void TeskalApp::reloadTranscript() {
    try {
        if (!transcript_)
            bindTranscript();
        transcript_->load();
        window_->detail().setTranscriptLost(false);
    } catch (const Error& error) {
        window_->detail().setTranscriptLost(true);
        model_->show(error.text());
    }
}

void TeskalApp::bindTranscript() {
    transcript_ = web_.makeTranscript(rendererFolder(), &model_->transcriptFiles());
    window_->setTranscript(&transcript_->widget(),
                           [this](EditAction action) { performIn(*transcript_, action); });
    connect(transcript_.get(), &TranscriptPane::linkActivated, model_.get(), &AppModel::openLink);
    connect(transcript_.get(), &TranscriptPane::gaveUp, &window_->detail(),
            [this] { window_->detail().setTranscriptLost(true); });
    connect(transcript_.get(), &TranscriptPane::fullScreenChanged, window_.get(),
            &MainWindow::setTranscriptAlone);
    connect(window_.get(), &MainWindow::transcriptAloneLeft, transcript_.get(),
            &TranscriptPane::leaveFullScreen);
    bindFinding();
    bindZoom();
    model_->transcript().setPage(&transcript_->port());
    applyTheme();
    transcript_->setFonts(QApplication::font().family(),
                          QFontDatabase::systemFont(QFontDatabase::FixedFont).family());
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
    FindBar& bar = window_->detail().findBar();
    connect(&bar, &FindBar::searchChanged, transcript_.get(), &TranscriptPane::find);
    connect(&bar, &FindBar::nextRequested, transcript_.get(), &TranscriptPane::findNext);
    connect(&bar, &FindBar::previousRequested, transcript_.get(), &TranscriptPane::findPrevious);
    connect(transcript_.get(), &TranscriptPane::counted, &bar, &FindBar::setCount);
}

void TeskalApp::bindZoom() {
    const TeskalCommands& commands = window_->commands();
    connect(&commands, &TeskalCommands::zoomInRequested, transcript_.get(), &TranscriptPane::zoomIn);
    connect(&commands, &TeskalCommands::zoomOutRequested, transcript_.get(), &TranscriptPane::zoomOut);
    connect(&commands, &TeskalCommands::zoomResetRequested, transcript_.get(), &TranscriptPane::resetZoom);
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
    if (transcript_)
        transcript_->setFirstLook(theme, theme_.ink().page);
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
