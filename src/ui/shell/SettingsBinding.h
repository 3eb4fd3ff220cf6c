#pragma once

#include "settings/SettingsTab.h"

#include <QObject>

#include <memory>

class QSettings;

namespace teskal {

class AppModel;
class SettingsWindow;
class Theme;

/// Ties the settings window to the application: the look, the account and what it keeps at the service. The
/// window is made when it is first asked for.
class SettingsBinding final : public QObject {
    Q_OBJECT

public:
    /// \a settings keeps the look, which is applied at once, and the window's tab. All must outlive the
    /// binding.
    SettingsBinding(AppModel& model, Theme& theme, QSettings& settings);
    ~SettingsBinding() override;

    /// Shows the window on the tab where it was last.
    SettingsWindow& show();
    SettingsWindow& show(SettingsTab tab);

Q_SIGNALS:
    /// Someone signs in, or has: the main window has what comes next.
    void mainWindowRequested();
    void quitRequested();

private:
    void makeWindow();
    void bindGeneral();
    void bindAccount();
    void showAccount();
    void showSettings();
    void signIn();
    void reveal();

    AppModel& model_;
    Theme& theme_;
    QSettings& settings_;
    std::unique_ptr<SettingsWindow> window_;
    bool signingIn_ = false; ///< begun here
};

} // namespace teskal
