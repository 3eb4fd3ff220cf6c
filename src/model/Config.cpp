#include "Config.h"

namespace teskal {

namespace {

bool isLoopback(const QString& host) {
    // Names are not asked for: a resolver may answer anything for "localhost.example".
    return host == QLatin1String("127.0.0.1") || host == QLatin1String("localhost") ||
           host == QLatin1String("::1");
}

} // namespace

Config Config::builtIn() {
    Config config;
    config.baseURL = QUrl(QStringLiteral(TESKAL_BASE_URL));
    config.issuer = QUrl(QStringLiteral(TESKAL_ISSUER));
    config.authorizeURL = QUrl(QStringLiteral(TESKAL_AUTHORIZE_URL));
    return config;
}

std::optional<Config> Config::forLocalService(const QString& origin) {
    const QUrl url(origin, QUrl::StrictMode);
    const bool bare = url.path().isEmpty() || url.path() == QLatin1String("/");
    if (!url.isValid() || url.scheme() != QLatin1String("http") || !isLoopback(url.host()) || !bare ||
        url.hasQuery() || url.hasFragment() || !url.userInfo().isEmpty() || url.port() == 0)
        return std::nullopt;
    Config config;
    config.baseURL.setScheme(url.scheme());
    config.baseURL.setHost(url.host());
    config.baseURL.setPort(url.port());
    config.issuer = config.baseURL;
    config.issuer.setPath(QStringLiteral("/functions/v1/oauth"));
    config.authorizeURL = config.baseURL;
    config.authorizeURL.setPath(QStringLiteral("/oauth/authorize"));
    QString host = url.host();
    host.replace(QLatin1Char(':'), QLatin1Char('.'));
    config.storageSuffix = QStringLiteral("-%1-%2").arg(host).arg(url.port(80));
    return config;
}

const QSet<QString>& Config::attachmentTypes() {
    static const QSet<QString> types{QStringLiteral("image/png"), QStringLiteral("image/jpeg"),
                                     QStringLiteral("image/webp"), QStringLiteral("image/gif"),
                                     QStringLiteral("application/pdf")};
    return types;
}

} // namespace teskal
