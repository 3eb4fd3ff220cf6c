#pragma once

#include "AuthSession.h"

#include <functional>
#include <memory>

namespace teskal {

/// A session that is made when somebody first signs in.
class LateAuthSession final : public AuthSession {
public:
    /// Makes the session, or throws the Error that the sign-in then ends with.
    using Maker = std::function<std::unique_ptr<AuthSession>()>;

    explicit LateAuthSession(Maker make) : make_(std::move(make)) {}

    QCoro::Task<QUrl> run(QUrl authorizationUrl, std::stop_token token) override;

private:
    Maker make_;
    std::unique_ptr<AuthSession> session_;
};

} // namespace teskal
