#pragma once

#include "AuthSession.h"

#include <functional>

namespace teskal {

/// Decides at every sign-in: the user's browser, where they are signed in already, when its callback links
/// come back to this application; the embedded sheet otherwise.
class AuthSessionChooser final : public AuthSession {
public:
    using Check = std::function<QCoro::Task<bool>(std::stop_token)>;

    /// \a browser and \a sheet must outlive this object. \a linksComeHere is an ordinary function that calls
    /// a coroutine, as a rule LinkHandlerCheck::linksComeHere.
    AuthSessionChooser(Check linksComeHere, AuthSession& browser, AuthSession& sheet)
        : linksComeHere_(std::move(linksComeHere)), browser_(browser), sheet_(sheet) {}

    QCoro::Task<QUrl> run(QUrl authorizationUrl, std::stop_token token) override;

private:
    Check linksComeHere_;
    AuthSession& browser_;
    AuthSession& sheet_;
};

} // namespace teskal
