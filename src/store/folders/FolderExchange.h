#pragma once

#include "FolderSyncReply.h"
#include "Scope.h"
#include "TeskalAPI.h"

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

namespace teskal {

class Clock;
class ClockTimer;

/// Keeps one account's folder document in step with the service: sends it, one exchange at a time, hands over
/// what comes back, and tries again after failures that pass. Main thread only.
class FolderExchange {
public:
    /// What the exchange works on. The functions may call the exchange.
    struct Callbacks {
        std::function<FolderDocument()> document;          ///< what is to be sent, now
        std::function<void(const FolderDocument&)> absorb; ///< takes what the service answered
        std::function<void(const QString&)> notice;        ///< a sentence for the user
        std::function<double()> random; ///< uniform from 0 to below 1, spreads the retries of many devices
    };

    /// \a clock must outlive the exchange.
    FolderExchange(Clock& clock, Callbacks callbacks);
    ~FolderExchange();

    /// Forgets everything and goes on with another account, or with none. What is under way is abandoned; its
    /// reply reaches nobody.
    void begin(std::optional<TeskalAPI> api);
    /// After a new sign-in of the same account: what stopped the exchange counts no more, and one starts now.
    void resume();
    /// Starts an exchange after \a after, instead of one that was to start later or earlier. Does nothing
    /// without an account, and after the service refused the sign-in (401) or has no folders to offer (503).
    void soon(std::chrono::milliseconds after);

    /// To be added to the local clock, so that times agree with the service's; in ms.
    double skewMs() const { return skew_; }
    bool isUnderWay() const { return inflight_; }
    /// Whether the service refused the sign-in; lasts until begin() or resume().
    bool isAuthStopped() const { return authStopped_; }
    /// False after the service said that it is not available; lasts until begin() or resume().
    bool isSyncAvailable() const { return syncAvailable_; }

private:
    struct Outcome;

    static QCoro::Task<Outcome> ask(TeskalAPI api, FolderDocument document, std::stop_token stop);
    QCoro::Task<void> run(quint64 generation, std::stop_token stop);
    bool mayStart() const;
    void start();
    void accept(const Outcome& outcome);
    void setSkew(const FolderSyncReply& reply);
    void scheduleRetry();
    /// The service's refusal for the user, said once until an exchange succeeds.
    void refuse(const FolderSyncReply& reply);

    Clock& clock_;
    Callbacks callbacks_;
    std::optional<TeskalAPI> api_;
    quint64 generation_ = 0; ///< changes with the account, so that late replies are ignored
    double skew_ = 0;
    int failures_ = 0; ///< failed exchanges in a row
    bool inflight_ = false;
    bool again_ = false; ///< another exchange was asked for during this one
    bool authStopped_ = false;
    bool syncAvailable_ = true;
    bool shownTooLarge_ = false;
    std::unique_ptr<ClockTimer> debounceTimer_;
    std::unique_ptr<ClockTimer> retryTimer_;
    Job job_;
    Scope scope_;
};

} // namespace teskal
