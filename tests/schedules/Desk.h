#pragma once

#include "AppModel.h"
#include "BrowserSession.h"
#include "FakeKeychain.h"
#include "ManualClock.h"
#include "ServiceControl.h"
#include "SystemClock.h"
#include "WatchedPage.h"

#include <QTemporaryDir>

#include <memory>

namespace teskal::test {

/// A computer with the application on it and the local service far away. Time stands still until the test
/// moves it, for everything but the service and the ways to it.
class Desk {
public:
    explicit Desk(std::function<void(const QString& messageId)> onShown);

    /// Starts the application and waits until the stored session was read.
    void launch();
    void quit();
    AppModel& model() { return *model_; }

    /// Says who signs in from now on.
    void consentAs(const QString& email);
    /// Lets the service and what is queued here have their turn.
    void turn();
    /// What the file of account \a owner holds.
    QList<Chat> stored(const QString& owner) const;

    LocalService service{{QStringLiteral("--job-seconds"), QStringLiteral("0")}};
    ServiceControl control{service};
    ManualClock clock;

private:
    HttpSession http_{clock};
    BrowserSession browser_{http_};
    FakeKeychain keychain_;
    QTemporaryDir folder_;
    Config config_;
    WatchedPage page_;
    std::unique_ptr<AppModel> model_;
};

} // namespace teskal::test
