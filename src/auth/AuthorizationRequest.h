#pragma once

#include "FormEncoding.h"

#include <QString>
#include <QUrl>

namespace teskal {

/// How the provider knows this application. It is a public client: there is no secret.
namespace oauth {
inline constexpr QLatin1String clientId("dcr_5a1e7c0b93f24d68ae01b7c4d9f2e385");
inline constexpr QLatin1String callbackScheme("app.teskal.mac");
inline constexpr QLatin1String redirectUri("app.teskal.mac://callback");
inline constexpr QLatin1String scope("openid profile email");
} // namespace oauth

/// One trip to the provider's authorization page: what is sent along, and what must come back.
class AuthorizationRequest {
public:
    /// With a fresh verifier, state and nonce.
    static AuthorizationRequest create();

    /// The page to open, below \a authorizeURL.
    QUrl url(const QUrl& authorizeURL) const;
    /// The code that \a callback carries. Throws AuthError: the provider's own words when it sent an error,
    /// StateMismatch when the callback answers another request, Server when there is no code.
    QString codeFrom(const QUrl& callback) const;
    /// The form that turns \a code into tokens.
    FormFields exchangeForm(const QString& code) const;

private:
    QString verifier_;
    QString state_;
    QString nonce_;
};

} // namespace teskal
