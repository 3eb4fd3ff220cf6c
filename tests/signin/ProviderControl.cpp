#include "ProviderControl.h"

#include "Pending.h"

#include <QJsonDocument>

namespace teskal::test {

void ProviderControl::tell(const QString& name, const QJsonObject& body) {
    HttpRequest request("POST", origin_.resolved(QUrl(QStringLiteral("/control/") + name)));
    request.headers.append("Content-Type", "application/json");
    request.body = QJsonDocument(body).toJson();
    const auto reply = waitFor([&](std::stop_token token) { return http_.fetch(request, token); });
    if (reply.head.status != 200)
        qFatal("the service does not take the order: %s", reply.body.constData());
}

QJsonObject ProviderControl::state() {
    const HttpRequest request("GET", origin_.resolved(QUrl(QStringLiteral("/control/state"))));
    const auto reply = waitFor([&](std::stop_token token) { return http_.fetch(request, token); });
    return QJsonDocument::fromJson(reply.body).object();
}

QUrl ProviderControl::visit(const QUrl& authorizeUrl) {
    const HttpRequest request("GET", authorizeUrl);
    const auto reply = waitFor([&](std::stop_token token) { return http_.fetch(request, token); });
    return QUrl(QString::fromUtf8(reply.head.headers.value("Location").value_or(QByteArray())));
}

} // namespace teskal::test
