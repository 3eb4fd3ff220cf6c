#pragma once

#include <QCoroTask>
#include <QUrl>

#include <stop_token>

namespace teskal {

/// Shows the provider's page to the user and waits until it hands control back.
class AuthSession {
public:
    virtual ~AuthSession() = default;

    /// Opens \a authorizationUrl and returns the callback URL that the provider ended with. Throws
    /// AuthError::cancelled() when the user gives up, Cancelled when \a token is set (what is on screen for
    /// it goes away then), another Error when the page cannot be shown. One run at a time; main thread only.
    virtual QCoro::Task<QUrl> run(QUrl authorizationUrl, std::stop_token token) = 0;
};

} // namespace teskal
