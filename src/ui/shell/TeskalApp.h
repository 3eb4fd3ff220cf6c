#pragma once

#include "AnswerNotices.h"
#include "AppFolders.h"
#include "AppModel.h"
#include "AuthSessionChooser.h"
#include "BrowserAuthSession.h"
#include "Config.h"
#include "HttpSession.h"
#include "LinkHandlerCheck.h"
#include "MainWindow.h"
#include "MediaAudioInput.h"
#include "MediaAudioPlayer.h"
#include "Scope.h"
#include "SettingsBinding.h"
#include "SheetAuthSession.h"
#include "SystemClock.h"
#include "WebPagePort.h"
#include "WindowBinding.h"
#include "theme/Theme.h"

#include <QObject>
#include <QSettings>

#include <memory>

class QApplication;

namespace teskal {

class BrowserSignInPanel;
class PageFinder;
class TranscriptView;
class TrayIcon;

/// The application: builds its parts in order, shows the window, and ends with every save written.
class TeskalApp final : public QObject {
    Q_OBJECT

public:
    /// \a application must outlive this object.
    TeskalApp(QApplication& application, const Config& config);
    ~TeskalApp() override;

    void showWindow();
    /// Shows the window, in front of the others where \a token, which the desktop gave to whoever asks, is
    /// good for that.
    void activate(const QByteArray& token);
    /// Begins a new chat, unless that would end the private one.
    void newChat();
    /// Writes what waits to be written and ends the event loop with status 0.
    void quit();
    /// Takes a sign-in's link that the desktop handed over. It is not logged.
    void openCallbackLink(const QUrl& link);

    MainWindow& window() { return *window_; }
    SettingsBinding& settings() { return *settingsBinding_; }
    AppModel& model() { return *model_; }
    Theme& theme() { return theme_; }
    SheetAuthSession& signInSheet() { return sheet_; }
    /// The transcript's page; null until the window was shown once.
    WebPagePort* page() { return page_.get(); }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    AppServices services();
    void createTranscript();
    void bindFinding();
    void bindSettings();
    void bindZoom(TranscriptView& view);
    void applyTheme();
    void stayWithoutWindow();
    QCoro::Task<void> storeAndExit(std::stop_token stop);

    Config config_;
    AppFolders folders_;
    SystemClock clock_;
    HttpSession http_;
    std::unique_ptr<Keychain> keychain_;
    BrowserAuthSession browser_;
    SheetAuthSession sheet_;
    LinkHandlerCheck linkHandler_;
    AuthSessionChooser authSession_;
    MediaAudioPlayer audioPlayer_;
    MediaAudioInput audioInput_;
    std::unique_ptr<AppModel> model_;
    Theme theme_;
    QSettings settings_;
    std::unique_ptr<WebPagePort> page_;
    std::unique_ptr<PageFinder> finder_;
    std::unique_ptr<MainWindow> window_;
    std::unique_ptr<BrowserSignInPanel> browserPanel_;
    std::unique_ptr<WindowBinding> binding_;
    std::unique_ptr<SettingsBinding> settingsBinding_;
    AnswerNotices notices_;
    std::unique_ptr<TrayIcon> tray_;
    bool quitting_ = false;
    Scope scope_;
};

} // namespace teskal
