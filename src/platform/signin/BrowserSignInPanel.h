#pragma once

#include <QDialog>

class QLineEdit;
class QPushButton;

namespace teskal {

class BrowserAuthSession;
class SpokenLabel;

/// "Waiting for the browser": shown over its parent's window while the session waits, gone when it does not.
/// Closing it gives the sign-in up.
class BrowserSignInPanel final : public QDialog {
    Q_OBJECT
public:
    /// \a session must outlive the panel.
    BrowserSignInPanel(BrowserAuthSession& session, QWidget* parent);

    /// Escape, the Cancel button and the window's own close button end here.
    void reject() override;

private:
    void follow();
    void showState();
    void usePastedLink();

    BrowserAuthSession& session_;
    SpokenLabel* hint_;
    QLineEdit* link_;
    QPushButton* use_;
};

} // namespace teskal
