#pragma once

#include "AuthSession.h"
#include "HttpSession.h"

namespace teskal::test {

/// Does over HTTP what a browser does on the provider's page when consent is given by itself.
class BrowserSession final : public AuthSession {
public:
    /// \a http must outlive the session.
    explicit BrowserSession(HttpSession& http) : http_(http) {}

    QCoro::Task<QUrl> run(QUrl authorizationUrl, std::stop_token token) override;

private:
    HttpSession& http_;
};

} // namespace teskal::test
