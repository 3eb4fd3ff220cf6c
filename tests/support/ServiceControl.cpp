#include "ServiceControl.h"

#include "WaitUntil.h"

#include <QJsonDocument>
#include <QNetworkReply>
#include <QUrlQuery>

#include <memory>

namespace teskal::test {

namespace {

// The example pair of RFC 7636, appendix B.
const QString verifier = QStringLiteral("dBjftJeZ4CVP-mB92K27uhbUJU1p1r_wW1gFWFOEjXk");
const QString challenge = QStringLiteral("E9Melhoa2OwvFrEMTJguCHaoeK1t8URWbuGJSstw-cM");

const QString clientId = QStringLiteral("dcr_5a1e7c0b93f24d68ae01b7c4d9f2e385");
const QString redirectUri = QStringLiteral("app.teskal.mac://callback");

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
    post(QStringLiteral("next"), override);
}

void ServiceControl::hold(const QString& path, int afterBytes) {
    QJsonObject what{{QStringLiteral("path"), path}};
    if (afterBytes >= 0)
        what.insert(QStringLiteral("afterBytes"), afterBytes);
    post(QStringLiteral("hold"), what);
}

void ServiceControl::releaseAll() {
    post(QStringLiteral("release"), QJsonObject());
}

bool ServiceControl::wait(const QString& path, const QString& state, int count) {
    const QString query =
        QStringLiteral("/control/wait?path=%1&state=%2&count=%3").arg(path, state).arg(count);
    return send("GET", service_.url(query)).status == 200;
}

QJsonArray ServiceControl::requests(const QString& path) {
    const Reply reply = send("GET", service_.url(QStringLiteral("/control/requests?path=") + path));
    return QJsonDocument::fromJson(reply.body).object().value(QLatin1String("requests")).toArray();
}

QJsonObject ServiceControl::post(const QString& what, const QJsonValue& body) {
    const Reply reply =
        send("POST", service_.url(QStringLiteral("/control/") + what), "application/json", toJson(body));
    if (reply.status < 200 || reply.status > 299)
        qFatal("the service refuses /control/%s: %s", qPrintable(what), reply.body.constData());
    return QJsonDocument::fromJson(reply.body).object();
}

int ServiceControl::count(const QString& what) {
    const Reply reply = send("GET", service_.url(QStringLiteral("/control/state")));
    return QJsonDocument::fromJson(reply.body).object().value(what).toInt(-1);
}

QString ServiceControl::accessToken(const QString& email) {
    if (!email.isEmpty())
        post(QStringLiteral("consent"), QJsonObject{{QStringLiteral("email"), email}});
    const QByteArray query = form({{QStringLiteral("response_type"), QStringLiteral("code")},
                                   {QStringLiteral("client_id"), clientId},
                                   {QStringLiteral("redirect_uri"), redirectUri},
                                   {QStringLiteral("scope"), QStringLiteral("openid profile email")},
                                   {QStringLiteral("state"), QStringLiteral("s")},
                                   {QStringLiteral("nonce"), QStringLiteral("n")},
                                   {QStringLiteral("code_challenge"), challenge},
                                   {QStringLiteral("code_challenge_method"), QStringLiteral("S256")}});
    QUrl page = service_.url(QStringLiteral("/oauth/authorize"));
    page.setQuery(QString::fromLatin1(query));
    const QUrlQuery callback(visit(page));
    const QByteArray exchange =
        form({{QStringLiteral("grant_type"), QStringLiteral("authorization_code")},
              {QStringLiteral("client_id"), clientId},
              {QStringLiteral("redirect_uri"), redirectUri},
              {QStringLiteral("code"), callback.queryItemValue(QStringLiteral("code"))},
              {QStringLiteral("code_verifier"), verifier}});
    const Reply reply = send("POST", service_.url(QStringLiteral("/functions/v1/oauth/token")),
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
