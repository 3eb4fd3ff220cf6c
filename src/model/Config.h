#pragma once

#include <QSet>
#include <QString>
#include <QUrl>

#include <optional>

namespace teskal {

/// Where the service and the sign-in live. Fixed when the application is built; `--service` replaces the
/// origin of all three for a trial against a service on this machine.
struct Config {
    QUrl baseURL;      ///< https origin without a path
    QUrl issuer;       ///< token exchange, ends in /functions/v1/oauth
    QUrl authorizeURL; ///< the provider's authorization endpoint, ends in /oauth/authorize
    /// Added to names of stores (keyring service, data and cache folders), so that a trial never touches a
    /// real account; empty for the built-in endpoints.
    QString storageSuffix;

    /// The endpoints this build was made for.
    static Config builtIn();
    /// All endpoints below \a origin, which must be http on a loopback address; none otherwise.
    static std::optional<Config> forLocalService(const QString& origin);

    /// MIME types that a user may attach.
    static const QSet<QString>& attachmentTypes();
};

} // namespace teskal
