#include "OAuthClient.h"

#include "AuthError.h"
#include "AuthorizationRequest.h"
#include "HttpSession.h"
#include "JsonError.h"
#include "JsonText.h"

#include <algorithm>

namespace teskal {

namespace {

constexpr std::chrono::seconds requestTimeout{60};
constexpr qint64 maxReplySize = 1024 * 1024; // bytes; real answers have a few thousand
constexpr double defaultLifeSeconds = 3600;

HttpRequest formRequest(const QUrl& url, const FormFields& form) {
    HttpRequest request(QByteArrayLiteral("POST"), url);
    request.headers.append(QByteArrayLiteral("Content-Type"),
                           QByteArrayLiteral("application/x-www-form-urlencoded"));
    request.body = formEncoded(form);
    request.timeout = requestTimeout;
    request.maxBodySize = maxReplySize;
    return request;
}

JSONValue parsedOrNull(const QByteArray& body) {
    try {
        return json::parseValue(body);
    } catch (const JsonError&) {
        return {};
    }
}

std::optional<QString> textMember(const JSONValue& reply, const QString& key) {
    const JSONValue value = reply.member(key);
    return value.string() ? std::optional(*value.string()) : std::nullopt;
}

/// RFC 6749 appendix A.12: tokens are printable ASCII. Anything else could not be sent in a header.
bool isToken(const std::optional<QString>& text) {
    return text && !text->isEmpty() && std::all_of(text->cbegin(), text->cend(), [](QChar c) {
               return c.unicode() >= 0x20 && c.unicode() <= 0x7e;
           });
}

bool refusesGrant(int status, const QString& error) {
    return status == 401 || error == QLatin1String("invalid_grant") ||
           error == QLatin1String("invalid_client") || error == QLatin1String("unauthorized_client");
}

AuthError refusal(int status, const JSONValue& reply) {
    const auto error = textMember(reply, QStringLiteral("error"));
    const auto description = textMember(reply, QStringLiteral("error_description"));
    const QString fallback = error.value_or(QStringLiteral("Passhold didn’t accept the sign-in."));
    const QString message = description.value_or(fallback);
    return refusesGrant(status, error.value_or(QString())) ? AuthError::rejected(message)
                                                           : AuthError::server(message);
}

} // namespace

QUrl OAuthClient::endpoint(QLatin1String name) const {
    QUrl url = issuer_;
    url.setPath(issuer_.path() + QLatin1Char('/') + name);
    return url;
}

FormFields OAuthClient::refreshForm(const QString& refreshToken) {
    return {
        {QStringLiteral("grant_type"), QStringLiteral("refresh_token")},
        {QStringLiteral("refresh_token"), refreshToken},
        {QStringLiteral("client_id"), oauth::clientId},
    };
}

TokenGrant OAuthClient::grantFrom(int status, const QByteArray& body) {
    const JSONValue reply = parsedOrNull(body);
    const auto accessToken = textMember(reply, QStringLiteral("access_token"));
    if (status != 200 || !isToken(accessToken))
        throw refusal(status, reply);
    TokenGrant grant;
    grant.accessToken = *accessToken;
    const auto refreshToken = textMember(reply, QStringLiteral("refresh_token"));
    if (isToken(refreshToken))
        grant.refreshToken = refreshToken;
    const JSONValue life = reply.member(QStringLiteral("expires_in"));
    grant.expiresInSeconds = life.number() ? *life.number() : defaultLifeSeconds;
    return grant;
}

QCoro::Task<TokenGrant> OAuthClient::exchange(FormFields form, std::stop_token token) {
    const HttpRequest request = formRequest(endpoint(QLatin1String("token")), form);
    auto reply = http_.fetch(request, token);
    const HttpResponse response = co_await reply;
    co_return grantFrom(response.head.status, response.body);
}

QCoro::Task<UserInfoReply> OAuthClient::userInfo(QString accessToken, std::stop_token token) {
    HttpRequest request(QByteArrayLiteral("GET"), endpoint(QLatin1String("userinfo")));
    request.headers.append(QByteArrayLiteral("Authorization"), "Bearer " + accessToken.toUtf8());
    request.timeout = requestTimeout;
    request.maxBodySize = maxReplySize;
    auto reply = http_.fetch(request, token);
    const HttpResponse response = co_await reply;
    UserInfoReply info;
    info.status = response.head.status;
    info.body = response.body;
    co_return info;
}

QCoro::Task<void> OAuthClient::revoke(QString refreshToken, std::stop_token token) {
    const FormFields form{
        {QStringLiteral("token"), refreshToken},
        {QStringLiteral("token_type_hint"), QStringLiteral("refresh_token")},
        {QStringLiteral("client_id"), oauth::clientId},
    };
    const HttpRequest request = formRequest(endpoint(QLatin1String("revoke")), form);
    auto reply = http_.fetch(request, token);
    co_await reply;
}

} // namespace teskal
