#include "AuthorizationRequest.h"

#include "AuthError.h"
#include "Pkce.h"

#include <QUrlQuery>

namespace teskal {

namespace {

/// The value of the first item called \a name, null when there is none.
QString itemValue(const QUrlQuery& query, const QString& name) {
    return query.queryItemValue(name, QUrl::FullyDecoded);
}

QString errorText(const QUrlQuery& query) {
    // RFC 6749 form-encodes the description, so a plus sign stands for a space.
    QString raw = query.queryItemValue(QStringLiteral("error_description"), QUrl::FullyEncoded);
    raw.replace(QLatin1Char('+'), QLatin1Char(' '));
    const QString description = QUrl::fromPercentEncoding(raw.toUtf8());
    if (!description.isEmpty())
        return description;
    const QString code = itemValue(query, QStringLiteral("error"));
    return code.isEmpty() ? QStringLiteral("Passhold didn’t accept the sign-in.") : code;
}

} // namespace

AuthorizationRequest AuthorizationRequest::create() {
    AuthorizationRequest request;
    request.verifier_ = pkce::randomURLSafe(32);
    request.state_ = pkce::randomURLSafe(16);
    request.nonce_ = pkce::randomURLSafe(16);
    return request;
}

QUrl AuthorizationRequest::url(const QUrl& authorizeURL) const {
    const FormFields items{
        {QStringLiteral("response_type"), QStringLiteral("code")},
        {QStringLiteral("client_id"), oauth::clientId},
        {QStringLiteral("redirect_uri"), oauth::redirectUri},
        {QStringLiteral("scope"), oauth::scope},
        {QStringLiteral("state"), state_},
        {QStringLiteral("nonce"), nonce_},
        {QStringLiteral("code_challenge"), pkce::challenge(verifier_)},
        {QStringLiteral("code_challenge_method"), QStringLiteral("S256")},
    };
    QUrl url = authorizeURL;
    url.setQuery(QString::fromLatin1(formEncoded(items)), QUrl::StrictMode);
    return url;
}

QString AuthorizationRequest::codeFrom(const QUrl& callback) const {
    const QUrlQuery query(callback);
    if (query.hasQueryItem(QStringLiteral("error")))
        throw AuthError::server(errorText(query));
    if (itemValue(query, QStringLiteral("state")) != state_)
        throw AuthError::stateMismatch();
    const QString code = itemValue(query, QStringLiteral("code"));
    if (code.isEmpty())
        throw AuthError::server(QStringLiteral("Passhold didn’t return a sign-in code."));
    return code;
}

FormFields AuthorizationRequest::exchangeForm(const QString& code) const {
    return {
        {QStringLiteral("grant_type"), QStringLiteral("authorization_code")},
        {QStringLiteral("code"), code},
        {QStringLiteral("redirect_uri"), oauth::redirectUri},
        {QStringLiteral("client_id"), oauth::clientId},
        {QStringLiteral("code_verifier"), verifier_},
    };
}

} // namespace teskal
