#pragma once

#include <QWidget>

namespace teskal {

class PrimaryButton;
class SettingsStatus;
class Theme;

/// Stands where a pane would be that has nothing to show before someone signs in.
class SignedOutSettings : public QWidget {
    Q_OBJECT

public:
    /// \a purpose says what there will be to choose.
    SignedOutSettings(const Theme& theme, const QString& purpose, QWidget* parent = nullptr);

    /// \a signingIn while the sign-in is under way elsewhere; \a error is why the last one came to nothing.
    void setState(bool signingIn, const QString& error);

Q_SIGNALS:
    void signInRequested();

private:
    PrimaryButton* signIn_;
    SettingsStatus* status_;
};

} // namespace teskal
