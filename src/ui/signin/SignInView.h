#pragma once

#include <QWidget>

namespace teskal {

class AlertLabel;
class PrimaryButton;
class Theme;

/// What is shown when nobody is signed in.
class SignInView : public QWidget {
    Q_OBJECT

public:
    explicit SignInView(const Theme& theme, QWidget* parent = nullptr);

    /// While a sign-in runs the button says so and cannot be pressed.
    void setSigningIn(bool signingIn);
    /// The failure shown under the button; empty for none.
    void setError(const QString& error);
    void focusButton();

Q_SIGNALS:
    void signInRequested();

private:
    PrimaryButton* button_;
    AlertLabel* error_;
};

} // namespace teskal
