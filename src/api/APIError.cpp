#include "APIError.h"

#include "JsonError.h"
#include "JsonText.h"

namespace teskal {

namespace {

JSONValue parsedOrNull(QByteArrayView body) {
    try {
        return json::parseValue(body);
    } catch (const JsonError&) {
        return nullptr;
    }
}

std::optional<QString> textOf(const JSONValue& error) {
    const std::optional<QString> message = error.member(QStringLiteral("message")).text();
    return message ? message : error.text();
}

} // namespace

std::optional<QString> APIError::textIn(QByteArrayView body) {
    return textOf(parsedOrNull(body).member(QStringLiteral("error")));
}

APIError APIError::from(int status, QByteArrayView body) {
    const JSONValue reply = parsedOrNull(body);
    const JSONValue error = reply.member(QStringLiteral("error"));

    std::optional<QString> message = textOf(error);
    if (!message && status == 401)
        message = QStringLiteral("Your session ended. Sign in again to keep chatting.");
    if (!message)
        message = QStringLiteral("Request failed (%1)").arg(status);

    std::optional<QString> code = reply.member(QStringLiteral("code")).text();
    if (!code)
        code = error.member(QStringLiteral("code")).text();
    if (!code && status == 401)
        code = QStringLiteral("SIGNED_OUT");
    return APIError(status, code, *message);
}

} // namespace teskal
