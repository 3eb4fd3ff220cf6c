#pragma once

#include "AuthSession.h"
#include "Completion.h"

#include <QObject>

#include <functional>
#include <optional>

namespace teskal {

/// A sign-in in the user's own browser. The browser hands the callback link to the desktop, the desktop
/// starts this application with it, and that start passes it on to here. Main thread only.
class BrowserAuthSession final : public QObject, public AuthSession {
    Q_OBJECT
public:
    /// Opens a web page in the browser; false when that failed at once.
    using Opener = std::function<bool(const QUrl&)>;

    explicit BrowserAuthSession(Opener open, QObject* parent = nullptr);
    ~BrowserAuthSession() override;

    /// With the desktop's own way to open links.
    static Opener systemBrowser();

    QCoro::Task<QUrl> run(QUrl authorizationUrl, std::stop_token token) override;

    bool isWaiting() const { return wait_.has_value(); }
    /// False when the browser could not be opened the last time it was asked.
    bool isBrowserOpen() const { return browserOpen_; }
    /// Takes a link from another start or from the user. False, and nothing happens, when nobody waits or it
    /// is not a callback link.
    bool deliver(const QString& link);
    /// Shows the page again; the wait goes on.
    void openAgain();
    /// Ends the wait as the user's wish. Nothing happens when nobody waits.
    void cancel();

Q_SIGNALS:
    /// A wait began or ended.
    void isWaitingChanged();
    /// The browser could not be opened, or could after it could not.
    void isBrowserOpenChanged();

private:
    struct Waiting {
        QUrl page;
        CompletionSource<QUrl> callback;
    };

    void openPage();
    void endWait();

    Opener open_;
    std::optional<Waiting> wait_;
    bool browserOpen_ = true;
};

} // namespace teskal
