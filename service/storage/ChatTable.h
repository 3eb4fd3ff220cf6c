#pragma once

#include "storage/Database.h"

#include <optional>
#include <string>
#include <vector>

namespace teskal::service {

/// A chat as it is stored: what the service itself looks at, and the whole as it was sent.
struct StoredChat {
    std::string id;
    std::string title;
    double updatedAt = 0; ///< ms since 1970; of a tombstone, the time of the deletion
    bool deleted = false;
    std::string json; ///< exactly as sent; not filled in by `list`
};

/// The chats of all accounts, with the deletions that other devices still have to hear of.
class ChatTable {
public:
    explicit ChatTable(Database& database) : database_(database) {}

    /// Everything of an account, newest first, tombstones included.
    std::vector<StoredChat> list(const std::string& account);
    /// One chat; nothing when it is unknown or deleted.
    std::optional<StoredChat> find(const std::string& account, const std::string& id);

    enum class Put { Saved, Deleted, Newer };
    /// Stores `chat` unless the account has a deletion at or after its time, or a newer version.
    Put put(const std::string& account, const StoredChat& chat);
    /// Leaves a tombstone with the time `at` unless the stored version is newer. False when it is.
    bool remove(const std::string& account, const std::string& id, double at);

private:
    Database& database_;
};

} // namespace teskal::service
