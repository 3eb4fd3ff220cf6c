#pragma once

#include "Config.h"
#include "FormEncoding.h"

#include <QByteArray>
#include <QCoroTask>
#include <QString>

#include <optional>
#include <stop_token>

namespace teskal {

class HttpSession;

/// What a token request yields.
struct TokenGrant {
    QString accessToken;
    std::optional<QString> refreshToken; ///< none: the one held so far lives on
    double expiresInSeconds = 0;         ///< life of the access token, counted from the answer
};

struct UserInfoReply {
    int status = 0;
    QByteArray body;
};

/// The requests to the token exchange (RFC 6749, RFC 7009). Holds no session; every call may throw HttpError,
/// and Cancelled when its token is set, which aborts the request.
class OAuthClient {
public:
    OAuthClient(const Config& config, HttpSession& http) : issuer_(config.issuer), http_(http) {}

    /// Posts \a form to the token endpoint, once. Throws AuthError, Rejected when the provider refuses the
    /// grant itself and Server for every other answer that is not a token.
    QCoro::Task<TokenGrant> exchange(FormFields form, std::stop_token token);
    /// Asks who holds \a accessToken.
    QCoro::Task<UserInfoReply> userInfo(QString accessToken, std::stop_token token);
    /// Ends the session of \a refreshToken at the provider; whatever it answers is fine.
    QCoro::Task<void> revoke(QString refreshToken, std::stop_token token);

    /// The form that renews an access token.
    static FormFields refreshForm(const QString& refreshToken);
    /// What the answer of the token endpoint says. Throws AuthError.
    static TokenGrant grantFrom(int status, const QByteArray& body);

private:
    QUrl endpoint(QLatin1String name) const;

    QUrl issuer_;
    HttpSession& http_;
};

} // namespace teskal
