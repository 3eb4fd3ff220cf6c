#pragma once

#include "RecordCodec.h"

#include <QString>

#include <optional>

namespace teskal {

/// What the provider gave us to act for the user. Stored as JSON; never logged.
struct Tokens {
    QString accessToken;
    std::optional<QString> refreshToken;
    double expiresAt = 0; ///< when the access token expires, in seconds since 2001-01-01 00:00:00 UTC

    friend bool operator==(const Tokens&, const Tokens&) = default;
};

/// The unit of Tokens::expiresAt from ms since 1970.
constexpr double secondsSince2001(double msSince1970) {
    constexpr double secondsFrom1970To2001 = 978'307'200.0;
    return msSince1970 / 1000.0 - secondsFrom1970To2001;
}

} // namespace teskal
