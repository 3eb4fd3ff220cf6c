#include "ApiClient.h"

#include "Cancelled.h"
#include "JsonError.h"
#include "ReadyToken.h"

namespace teskal::test {

ApiClient::ApiClient(const QUrl& origin, const QString& accessToken, const QString& version)
    : api(
          origin,
          [this, accessToken](std::stop_token) {
              ++tokensGiven;
              return readyToken(accessToken);
          },
          session, clock, version) {}

QString describe(const std::exception_ptr& error) {
    try {
        std::rethrow_exception(error);
    } catch (const APIError& e) {
        const QString code = e.code().value_or(QStringLiteral("-"));
        return QStringLiteral("API %1 %2: %3").arg(QString::number(e.status()), code, e.text());
    } catch (const HttpError& e) {
        return QStringLiteral("HTTP %1").arg(int(e.kind()));
    } catch (const JsonError&) {
        return QStringLiteral("JSON");
    } catch (const Cancelled&) {
        return QStringLiteral("Cancelled");
    } catch (const std::exception& e) {
        return QStringLiteral("error: ") + QString::fromUtf8(e.what());
    }
}

QString onlyRequest(const RawHttpServer& server, const QByteArray& token) {
    if (server.requests().size() != 1)
        return QStringLiteral("%1 requests").arg(server.requests().size());
    const RawRequest& request = server.requests().first();
    if (request.header("Authorization") != "Bearer " + token)
        return QStringLiteral("wrong token");
    if (request.header("X-Teskal-Client") != QByteArray("Teskal-macOS/2.5"))
        return QStringLiteral("wrong client");
    const bool isJson = request.header("Content-Type") == QByteArray("application/json");
    QByteArray line = request.method + ' ' + request.target;
    if (isJson || !request.body.isEmpty())
        line += (isJson ? " " : " no JSON: ") + request.body;
    return QString::fromUtf8(line);
}

} // namespace teskal::test
