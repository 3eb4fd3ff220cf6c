#include "RouteHeaders.h"

#include "JsonError.h"
#include "JsonText.h"
#include "PercentEncoding.h"

namespace teskal {

namespace {

struct TextHeader {
    const char* name;
    QLatin1StringView member;
    bool noneIsAbsent;
};

constexpr TextHeader textHeaders[] = {
    {"X-Teskal-Model", QLatin1StringView("model"), false},
    {"X-Teskal-Model-Name", QLatin1StringView("name"), false},
    {"X-Teskal-Lab", QLatin1StringView("lab"), false},
    {"X-Teskal-Task", QLatin1StringView("task"), false},
    {"X-Teskal-Difficulty", QLatin1StringView("difficulty"), false},
    {"X-Teskal-Preference", QLatin1StringView("preference"), true},
    {"X-Teskal-Effort", QLatin1StringView("effort"), true},
    {"X-Teskal-Anonymized", QLatin1StringView("anonymized"), false},
};

std::optional<JSONValue> decision(const HttpHeaders& headers) {
    const auto header = headers.value("X-Teskal-Route");
    const auto decoded = header ? percentDecoded(*header) : std::nullopt;
    if (!decoded)
        return std::nullopt;
    try {
        return json::parseValue(decoded->toUtf8());
    } catch (const JsonError&) {
        return std::nullopt;
    }
}

} // namespace

JSONValue routeFromHeaders(const HttpHeaders& headers) {
    JSONValue::Object route;
    for (const TextHeader& header : textHeaders) {
        const auto value = headers.value(header.name);
        if (value && !(header.noneIsAbsent && *value == "none"))
            route.insert(header.member, QString::fromUtf8(*value));
    }
    route.insert(QStringLiteral("web"), headers.value("X-Teskal-Web") == QByteArray("1"));
    if (const auto title = headers.value("X-Teskal-Title"))
        route.insert(QStringLiteral("title"), percentDecoded(*title).value_or(QString::fromUtf8(*title)));
    if (const auto decided = decision(headers))
        route.insert(QStringLiteral("decision"), *decided);
    return route;
}

} // namespace teskal
