#pragma once

#include <QString>

#include <optional>

namespace teskal {

/// The account's credits.
struct Billing {
    bool enabled = false;            ///< whether credits apply to this account
    std::optional<qint64> balance;   ///< credits left
    std::optional<double> creditUsd; ///< an amount in US dollars
    std::optional<QString> error;

    friend bool operator==(const Billing&, const Billing&) = default;
};

} // namespace teskal
