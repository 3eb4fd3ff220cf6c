#include "RedirectPolicy.h"

namespace teskal {

namespace {

bool isRedirect(int status) {
    return status == 301 || status == 302 || status == 303 || status == 307 || status == 308;
}

int effectivePort(const QUrl& url) {
    return url.port(url.scheme() == QLatin1String("https") ? 443 : 80);
}

/// RFC 6454, section 5: scheme, host and port. QUrl has lower-cased the first two.
bool isSameOrigin(const QUrl& a, const QUrl& b) {
    return a.scheme() == b.scheme() && a.host() == b.host() && effectivePort(a) == effectivePort(b);
}

} // namespace

std::optional<QUrl> redirectTarget(const HttpRequest& request, const HttpHead& head, int followed) {
    if (!request.followsRedirects || request.method != "GET" || !isRedirect(head.status) ||
        followed >= maxRedirects)
        return std::nullopt;
    const auto location = head.headers.value(QByteArrayLiteral("Location"));
    if (!location)
        return std::nullopt;
    const QUrl target = request.url.resolved(QUrl::fromEncoded(*location, QUrl::StrictMode));
    // A name and password in the target would be sent along as credentials.
    if (location->isEmpty() || !target.isValid() || !target.userInfo().isEmpty())
        return std::nullopt;
    return isSameOrigin(request.url, target) ? std::optional(target) : std::nullopt;
}

} // namespace teskal
