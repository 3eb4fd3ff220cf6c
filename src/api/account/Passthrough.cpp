#include "Passthrough.h"

#include "TeskalAPI.h"

#include <algorithm>

namespace teskal {

namespace {

constexpr QLatin1StringView allowedPath("/api/unfurl");
constexpr qint64 maxReply = 4 * 1024 * 1024;

PassthroughReply refusal(int status, const QString& body) {
    PassthroughReply reply;
    reply.status = status;
    reply.contentType = QStringLiteral("application/json");
    reply.body = body;
    return reply;
}

/// The characters of RFC 3986 that may stand in a path and a query; "#" would begin a fragment, and "[", "]"
/// belong to hosts.
bool isPlain(QChar c) {
    constexpr QLatin1StringView signs("-._~:/?@!$&'()*+,;=%");
    const char16_t u = c.unicode();
    return (u >= u'a' && u <= u'z') || (u >= u'A' && u <= u'Z') || (u >= u'0' && u <= u'9') ||
           signs.contains(c);
}

/// Whether the path \a encoded has a part that another reader could take for a step elsewhere: what an escape
/// hides is seen by some readers and not by others, and an escaped "%" hides an escape.
bool isAmbiguous(const QString& encoded) {
    for (const char* escape : {"%2F", "%5C", "%2E", "%25", "%00"})
        if (encoded.contains(QLatin1String(escape), Qt::CaseInsensitive))
            return true;
    const QStringList parts = encoded.split(QLatin1Char('/'));
    return parts.contains(QLatin1String(".")) || parts.contains(QLatin1String(".."));
}

} // namespace

std::optional<QUrl> passthroughUrl(const QUrl& base, const QString& path) {
    if (!path.startsWith(allowedPath) || !std::all_of(path.begin(), path.end(), isPlain))
        return std::nullopt;
    const QUrl url = base.resolved(QUrl::fromEncoded(path.toLatin1(), QUrl::StrictMode));
    const auto parts = QUrl::RemovePath | QUrl::RemoveQuery | QUrl::FullyEncoded;
    const QString target = url.path(QUrl::FullyEncoded);
    const bool isBelow = target == allowedPath || target.startsWith(allowedPath + QLatin1Char('/'));
    if (!url.isValid() || url.toString(parts) != base.toString(parts) || !isBelow || isAmbiguous(target))
        return std::nullopt;
    return url;
}

QCoro::Task<PassthroughReply> passthroughCall(TeskalAPI api, QString path, QString method,
                                              std::optional<QString> body, std::stop_token stop) {
    const std::optional<QUrl> url = passthroughUrl(api.baseURL(), path);
    if (!url || (method != QLatin1String("GET") && method != QLatin1String("POST")))
        co_return refusal(403, QStringLiteral(R"({"error":"Not allowed"})"));
    try {
        auto building = api.request(method.toLatin1(), "/", stop);
        HttpRequest request = co_await building;
        request.url = *url;
        request.maxBodySize = maxReply;
        request.followsRedirects = false;
        if (body)
            setJsonBody(request, body->toUtf8());
        auto fetching = api.http().fetch(std::move(request), stop);
        const HttpResponse response = co_await fetching;
        PassthroughReply reply;
        reply.status = response.head.status;
        reply.contentType =
            QString::fromUtf8(response.head.headers.value("Content-Type").value_or(QByteArray()));
        reply.body = QString::fromUtf8(response.body);
        co_return reply;
    } catch (const Error&) {
        co_return refusal(502, QStringLiteral(R"({"error":"Offline"})"));
    }
}

} // namespace teskal
