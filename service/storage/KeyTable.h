#pragma once

#include "storage/Database.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace teskal::service {

/// A key for calling the service from a user's own code. Its secret is shown once and kept as a hash only.
struct ApiKey {
    std::string id;
    std::string name;
    std::string prefix; ///< the visible start of the secret
    std::int64_t createdMs = 0;
    std::optional<std::int64_t> revokedMs;
    std::optional<std::int64_t> usedMs;
};

/// The keys of all accounts, revoked ones included.
class KeyTable {
public:
    explicit KeyTable(Database& database) : database_(database) {}

    /// All keys of an account, newest first, revoked ones included.
    std::vector<ApiKey> list(const std::string& account);
    void add(const std::string& account, const ApiKey& key, const std::string& secret);
    /// Revokes a key, once. False when the account has no such key.
    bool revoke(const std::string& account, const std::string& id, std::int64_t nowMs);
    /// The account that a secret speaks for, whose key counts as used from now on.
    std::optional<std::string> use(const std::string& secret, std::int64_t nowMs);

private:
    Database& database_;
};

} // namespace teskal::service
