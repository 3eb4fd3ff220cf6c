#include "ServiceControl.h"

#include "WaitUntil.h"

#include <QJsonDocument>
#include <QNetworkReply>
#include <QUrlQuery>

#include <memory>

namespace teskal::test {

namespace {

// The example pair of RFC 7636, appendix B.
const QString verifier = u"dBjftJeZ4CVP-mB92K27uhbUJU1p1r_wW1gFWFOEjXk"_qs;
const QString challenge = u"E9Melhoa2OwvFrEMTJguCHaoeK1t8URWbuGJSstw-cM"_qs;

const QString clientId = u"dcr_5a1e7c0b93f24d68ae01b7c4d9f2e385"_qs;
const QString redirectUri = u"app.teskal.mac://callback"_qs;

QByteArray toJson(const QJsonValue& value) {
    return value.isArray() ? QJsonDocument(value.toArray()).toJson(QJsonDocument::Compact)
                           : QJsonDocument(value.toObject()).toJson(QJsonDocument::Compact);
}

QByteArray form(const QList<std::pair<QString, QString>>& fields) {
    QUrlQuery query;
    for (const auto& [name, value] : fields)
        query.addQueryItem(name, QString::fromLatin1(QUrl::toPercentEncoding(value)));
    return query.query(QUrl::FullyEncoded).toLatin1();
}

} // namespace

void ServiceControl::next(const QJsonObject& override) {
    post(u"next"_qs, override);
}

void ServiceControl::hold(const QString& path, int afterBytes) {
    QJsonObject what{{u"path"_qs, path}};
    if (afterBytes >= 0)
        what.insert(u"afterBytes"_qs, afterBytes);
    post(u"hold"_qs, what);
}

void ServiceControl::releaseAll() {
    post(u"release"_qs, QJsonObject());
}

bool ServiceControl::wait(const QString& path, const QString& state, int count) {
    const QString query = u"/control/wait?path=%1&state=%2&count=%3"_qs.arg(path, state).arg(count);
    return send("GET", service_.url(query)).status == 200;
}

QJsonArray ServiceControl::requests(const QString& path) {
    const Reply reply = send("GET", service_.url(u"/control/requests?path="_qs + path));
    return QJsonDocument::fromJson(reply.body).object().value(QLatin1String("requests")).toArray();
}

QJsonObject ServiceControl::post(const QString& what, const QJsonValue& body) {
    const Reply reply = send("POST", service_.url(u"/control/"_qs + what), "application/json", toJson(body));
    if (reply.status < 200 || reply.status > 299)
        qFatal("the service refuses /control/%s: %s", qPrintable(what), reply.body.constData());
    return QJsonDocument::fromJson(reply.body).object();
}

int ServiceControl::count(const QString& what) {
    const Reply reply = send("GET", service_.url(u"/control/state"_qs));
    return QJsonDocument::fromJson(reply.body).object().value(what).toInt(-1);
}

QString ServiceControl::accessToken(const QString& email) {
    if (!email.isEmpty())
        post(u"consent"_qs, QJsonObject{{u"email"_qs, email}});
    const QByteArray query = form({{u"response_type"_qs, u"code"_qs},
                                   {u"client_id"_qs, clientId},
                                   {u"redirect_uri"_qs, redirectUri},
                                   {u"scope"_qs, u"openid profile email"_qs},
                                   {u"state"_qs, u"s"_qs},
                                   {u"nonce"_qs, u"n"_qs},
                                   {u"code_challenge"_qs, challenge},
                                   {u"code_challenge_method"_qs, u"S256"_qs}});
    QUrl page = service_.url(u"/oauth/authorize"_qs);
    page.setQuery(QString::fromLatin1(query));
    const QUrlQuery callback(visit(page));
    const QByteArray exchange = form({{u"grant_type"_qs, u"authorization_code"_qs},
                                      {u"client_id"_qs, clientId},
                                      {u"redirect_uri"_qs, redirectUri},
                                      {u"code"_qs, callback.queryItemValue(u"code"_qs)},
                                      {u"code_verifier"_qs, verifier}});
    const Reply reply = send("POST", service_.url(u"/functions/v1/oauth/token"_qs),
                             "application/x-www-form-urlencoded", exchange);
    const QString token =
        QJsonDocument::fromJson(reply.body).object().value(QLatin1String("access_token")).toString();
    if (token.isEmpty())
        qFatal("the service gives no access token");
    return token;
}

ServiceControl::Reply ServiceControl::send(const QByteArray& method, const QUrl& url,
                                           const QByteArray& contentType, const QByteArray& body) {
    QNetworkRequest request(url);
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
    if (!contentType.isEmpty())
        request.setHeader(QNetworkRequest::ContentTypeHeader, contentType);
    const std::unique_ptr<QNetworkReply> reply(network_.sendCustomRequest(request, method, body));
    if (!waitUntil([&] { return reply->isFinished(); }))
        qFatal("the service does not answer its control interface");
    return {reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt(), reply->readAll(),
            reply->rawHeader("Location")};
}

} // namespace teskal::test
