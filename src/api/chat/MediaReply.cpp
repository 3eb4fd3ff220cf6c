#include "MediaReply.h"

#include "APIError.h"
#include "JsonError.h"
#include "JsonText.h"

namespace teskal {

namespace {

APIError notUnderstood() {
    return APIError(502, std::nullopt,
                    QStringLiteral("Teskal sent something this app doesn’t understand yet. Update the app."));
}

JSONValue parsedObject(QByteArrayView body) {
    try {
        JSONValue value = json::parseValue(body);
        if (value.object())
            return value;
    } catch (const JsonError&) {
        // The same for the user as a reply of another shape.
    }
    throw notUnderstood();
}

void tellRoute(const HttpHeaders& headers, const JSONValue& body,
               const std::function<void(JSONValue)>& onRoute) {
    const JSONValue route = body.member(QStringLiteral("route"));
    if (!route.object())
        return;
    JSONValue::Object members = *route.object();
    if (const auto anonymized = headers.value("X-Teskal-Anonymized"))
        members.insert(QStringLiteral("anonymized"), QString::fromUtf8(*anonymized));
    onRoute(members);
}

ImageResult image(const JSONValue& body) {
    const auto dataUrl = body.member(QStringLiteral("dataUrl")).text();
    if (!dataUrl)
        throw APIError(502, std::nullopt, QStringLiteral("The image didn’t come back. Try again."));
    return {*dataUrl, body.member(QStringLiteral("fileId")).text(),
            body.member(QStringLiteral("prompt")).text()};
}

} // namespace

ChatResult readMediaReply(const HttpHeaders& headers, QByteArrayView reply,
                          const std::function<void(JSONValue)>& onRoute) {
    const JSONValue body = parsedObject(reply);
    tellRoute(headers, body, onRoute);
    const auto requestId = body.member(QStringLiteral("requestId")).text();
    const auto model = body.member(QStringLiteral("model")).text();
    const auto prompt = body.member(QStringLiteral("prompt")).text();
    const QString type = body.member(QStringLiteral("type")).text().value_or(QString());
    if (type == QLatin1String("image"))
        return image(body);
    if (type == QLatin1String("video"))
        return VideoResult{requestId, model, prompt};
    if (type == QLatin1String("music"))
        return MusicResult{requestId, model, body.member(QStringLiteral("lyrics")).text(), prompt};
    throw notUnderstood();
}

} // namespace teskal
