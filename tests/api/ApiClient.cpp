#include "ApiClient.h"

#include "Cancelled.h"
#include "JsonError.h"
#include "ReadyToken.h"

namespace teskal::test {

ApiClient::ApiClient(const QUrl& origin, const QString& accessToken, const QString& version)
    : api(
          origin.isEmpty() ? server.url() : origin,
          [this, accessToken](std::stop_token) {
              ++tokensGiven;
              return readyToken(accessToken);
          },
          session, clock, version) {}

QString describe(const std::exception_ptr& error) {
    try {
        std::rethrow_exception(error);
    } catch (const APIError& e) {
        const QString code = e.code().value_or(u"-"_qs);
        return u"API %1 %2: %3"_qs.arg(QString::number(e.status()), code, e.text());
    } catch (const HttpError& e) {
        return u"HTTP %1"_qs.arg(int(e.kind()));
    } catch (const JsonError&) {
        return u"JSON"_qs;
    } catch (const Cancelled&) {
        return u"Cancelled"_qs;
    } catch (const std::exception& e) {
        return u"error: "_qs + QString::fromUtf8(e.what());
    }
}

QString ApiClient::onlyRequest(const QByteArray& token) const {
    if (server.requests().size() != 1)
        return u"%1 requests"_qs.arg(server.requests().size());
    const RawRequest& request = server.requests().first();
    if (request.header("Authorization") != "Bearer " + token)
        return u"wrong token"_qs;
    if (request.header("X-Teskal-Client") != QByteArray("Teskal-macOS/2.5"))
        return u"wrong client"_qs;
    const bool isJson = request.header("Content-Type") == QByteArray("application/json");
    QByteArray line = request.method + ' ' + request.target;
    if (isJson || !request.body.isEmpty())
        line += (isJson ? " " : " no JSON: ") + request.body;
    return QString::fromUtf8(line);
}

} // namespace teskal::test
