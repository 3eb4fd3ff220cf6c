#include "CallbackLink.h"

#include "AuthorizationRequest.h"

namespace teskal {

std::optional<QUrl> callbackLinkFrom(const QString& text) {
    const QString trimmed = text.trimmed();
    if (trimmed.size() > maxCallbackLinkLength)
        return std::nullopt;
    const QUrl url(trimmed, QUrl::TolerantMode);
    if (!url.isValid() || url.scheme() != oauth::callbackScheme)
        return std::nullopt;
    return url;
}

std::optional<QUrl> callbackLinkIn(const QStringList& arguments) {
    for (const QString& argument : arguments) {
        if (auto link = callbackLinkFrom(argument))
            return link;
    }
    return std::nullopt;
}

bool isWebPage(const QUrl& url) {
    const bool web = url.scheme() == QLatin1String("https") || url.scheme() == QLatin1String("http");
    return url.isValid() && web && !url.host().isEmpty();
}

} // namespace teskal
