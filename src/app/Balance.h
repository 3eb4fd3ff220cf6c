#pragma once

#include "Scope.h"
#include "TeskalAPI.h"

#include <QObject>
#include <QUrl>

#include <functional>
#include <optional>

namespace teskal {

/// The account's credits: reads what is left and begins purchases, which the user finishes in the browser.
/// Main thread only.
class Balance final : public QObject {
    Q_OBJECT

public:
    using ApiFactory = std::function<TeskalAPI()>;
    enum class Purchase { None, Opening, Opened };

    /// \a api makes a client for the account that is signed in when it is called.
    explicit Balance(ApiFactory api, QObject* parent = nullptr);
    ~Balance() override;

    /// What the service said last; none before.
    const std::optional<Billing>& billing() const { return billing_; }
    bool isRefreshing() const { return refresh_.has_value(); }
    Purchase purchase() const { return purchase_; }
    /// Why the last refresh or purchase came to nothing, for the user; empty when it did not.
    const QString& error() const { return error_; }

    /// Asks the service; \a fresh past what it remembers itself. Takes the place of a refresh under way
    /// unless that one is the fresher. A failure leaves billing() as it is.
    void refresh(bool fresh);
    /// Begins to buy \a credits. Nothing while one begins.
    void buy(int credits);
    /// Forgets the purchase and the error, and what is still to come of a purchase.
    void leave();
    /// Forgets everything, replies still to come included: the account is another.
    void clear();

Q_SIGNALS:
    /// Any of the above is another.
    void changed();
    /// The page where the user finishes the purchase.
    void checkoutReady(const QUrl& page);

private:
    struct Refresh {
        bool fresh;
        Job job;
    };

    QCoro::Task<void> read(quint64 number, bool fresh, std::stop_token stop);
    QCoro::Task<void> begin(quint64 number, int credits, std::stop_token stop);
    void take(const Billing& billing);

    ApiFactory api_;
    std::optional<Billing> billing_;
    std::optional<Refresh> refresh_;
    Purchase purchase_ = Purchase::None;
    Job purchaseJob_;
    QString error_;
    quint64 refreshNumber_ = 0;
    quint64 purchaseNumber_ = 0;
    Scope scope_; // last: its coroutines use the above
};

} // namespace teskal
