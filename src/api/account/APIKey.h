#pragma once

#include <QList>
#include <QString>

#include <optional>

namespace teskal {

/// A key with which other programs use the account.
struct APIKey {
    QString id;
    QString name;
    QString prefix;                   ///< the visible start of the key
    double createdAt = 0;             ///< ms since 1970
    std::optional<double> revokedAt;  ///< ms since 1970
    std::optional<double> lastUsedAt; ///< ms since 1970

    friend bool operator==(const APIKey&, const APIKey&) = default;
};

/// The keys of the account, revoked ones included.
struct APIKeyList {
    QList<APIKey> keys;
    bool enabled = false; ///< whether this account may have keys

    friend bool operator==(const APIKeyList&, const APIKeyList&) = default;
};

/// A key just made: the one time that the whole of it is told.
struct NewAPIKey {
    std::optional<QString> id;
    std::optional<QString> name;
    QString secret;

    friend bool operator==(const NewAPIKey&, const NewAPIKey&) = default;
};

} // namespace teskal
