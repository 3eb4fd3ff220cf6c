#pragma once

#include "GeneralSettings.h"
#include "ModelSettings.h"
#include "PrivacySettings.h"
#include "SettingsTab.h"

#include <QPointer>
#include <QWidget>

class QSettings;
class QStackedWidget;

namespace teskal {

class ConfirmDialog;
class SettingsTabBar;
class SignedOutSettings;
class Theme;

/// The one settings window: a tab for each pane, as tall as the pane needs. It holds no settings; whoever
/// owns it fills the panes and follows their signals.
class SettingsWindow : public QWidget {
    Q_OBJECT

public:
    /// \a settings keeps the chosen tab and must outlive the window, as \a theme must.
    SettingsWindow(const Theme& theme, QSettings& settings, QWidget* parent = nullptr);
    ~SettingsWindow() override;

    [[nodiscard]] SettingsTab tab() const;
    void setTab(SettingsTab tab);
    /// The panes of the account are there only for somebody.
    void setSignedIn(bool signedIn);
    /// Of the sign-in that can be begun from here.
    void setSignIn(bool signingIn, const QString& error);

    [[nodiscard]] GeneralSettings& general() { return *general_; }
    [[nodiscard]] PrivacySettings& privacy() { return *privacy_; }
    [[nodiscard]] ModelSettings& models() { return *models_; }

    /// Asks whether all chats are to go, from the service at \a host as well.
    void confirmDeleteAll(const QString& host);
    /// Takes the question back: it was about somebody else's chats.
    void withdrawQuestion();

Q_SIGNALS:
    void signInRequested();
    void deleteAllConfirmed();
    void quitRequested();
    /// A pane of the account came to be seen.
    void accountShown();
    /// The window, or the pane that was seen, is left.
    void left();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    int addPage(QWidget* pane);
    void addKey(const QKeySequence& key, void (SettingsWindow::*act)());
    void tabChosen(SettingsTab tab);
    void showPane();
    void fit();
    void requestClose() { close(); }

    const Theme& theme_;
    QSettings& settings_;
    SettingsTabBar* tabs_;
    QStackedWidget* pages_;
    GeneralSettings* general_;
    PrivacySettings* privacy_;
    ModelSettings* models_;
    SignedOutSettings* noPrivacy_;
    SignedOutSettings* noModels_;
    QPointer<ConfirmDialog> question_;
    bool signedIn_ = false;
    bool fitting_ = false;
};

} // namespace teskal
