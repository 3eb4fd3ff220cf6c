#pragma once

#include "AnswerNotices.h"
#include "AppFolders.h"
#include "AppModel.h"
#include "AuthSessionChooser.h"
#include "BrowserAuthSession.h"
#include "Config.h"
#include "HttpSession.h"
#include "LateAudioInput.h"
#include "LateAudioPlayer.h"
#include "LateAuthSession.h"
#include "LinkHandlerCheck.h"
#include "MainWindow.h"
#include "Scope.h"
#include "SettingsBinding.h"
#include "SystemClock.h"
#include "WindowBinding.h"
#include "theme/Theme.h"

#include <QObject>
#include <QSettings>

#include <memory>

class QApplication;

namespace teskal {

class BrowserSignInPanel;
class TranscriptPane;
class TrayIcon;
class WebParts;

/// The application: builds its parts in order, shows the window, and ends with every save written.
class TeskalApp final : public QObject {
    Q_OBJECT

public:
    /// Nothing is asked of \a web before the window's first picture, but for a sign-in. Both references must
    /// outlive this object.
    TeskalApp(QApplication& application, const Config& config, WebParts& web);
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
    /// Null until the window was shown once, and where there is no web engine.
    TranscriptPane* transcript() { return transcript_.get(); }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    AppServices services();
    /// Whatever waited for the first picture.
    void beginWork();
    void createTranscript();
    void bindTranscript();
    void reloadTranscript();
    void bindFinding();
    void bindSettings();
    void bindZoom();
    void applyTheme();
    void stayWithoutWindow();
    QCoro::Task<void> storeAndExit(std::stop_token stop);

    WebParts& web_;
    Config config_;
    AppFolders folders_;
    SystemClock clock_;
    HttpSession http_;
    std::unique_ptr<Keychain> keychain_;
    BrowserAuthSession browser_;
    LateAuthSession sheet_;
    LinkHandlerCheck linkHandler_;
    AuthSessionChooser authSession_;
    LateAudioPlayer audioPlayer_;
    LateAudioInput audioInput_;
    std::unique_ptr<AppModel> model_;
    Theme theme_;
    QSettings settings_;
    std::unique_ptr<TranscriptPane> transcript_;
    std::unique_ptr<MainWindow> window_;
    std::unique_ptr<BrowserSignInPanel> browserPanel_;
    std::unique_ptr<WindowBinding> binding_;
    std::unique_ptr<SettingsBinding> settingsBinding_;
    AnswerNotices notices_;
    std::unique_ptr<TrayIcon> tray_;
    bool wasShown_ = false;
    bool quitting_ = false;
    Scope scope_;
};

} // namespace teskal
