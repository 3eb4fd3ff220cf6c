#pragma once

#include "storage/Database.h"

#include <cstdint>
#include <optional>
#include <string>

namespace teskal::service {

/// What a user has chosen.
struct AccountSettings {
    bool anonymize = true;
    std::string disabledModels = "[]"; ///< a JSON list of model identifiers
};

/// Credits and settings. An account that was never seen before has the start balance and the defaults.
class AccountTable {
public:
    explicit AccountTable(Database& database) : database_(database) {}

    std::int64_t balance(const std::string& account);
    /// Takes up to `credits`, as far as there are any; false when there are none.
    bool charge(const std::string& account, std::int64_t credits);

    /// Begins a purchase; gives the identifier by which its page is found until `expiresMs`.
    std::string beginCheckout(const std::string& account, std::int64_t credits, std::int64_t expiresMs);
    /// The credits of a purchase that is under way at `nowMs`.
    std::optional<std::int64_t> checkout(const std::string& id, std::int64_t nowMs);
    /// Adds the credits of a purchase, once. Nothing when it is not under way.
    std::optional<std::int64_t> finishCheckout(const std::string& id, std::int64_t nowMs);

    AccountSettings settings(const std::string& account);
    void setSettings(const std::string& account, const AccountSettings& settings);

private:
    void ensure(const std::string& account);

    Database& database_;
};

} // namespace teskal::service
