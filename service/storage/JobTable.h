#pragma once

#include "storage/Database.h"

#include <cstdint>
#include <optional>
#include <string>

namespace teskal::service {

/// A video or a song on its way.
struct Job {
    std::string id;   ///< the token its owner asks with
    std::string kind; ///< "video" or "music"
    std::string prompt;
    std::int64_t dueMs = 0; ///< when it ends, ms since 1970
    bool fails = false;
    std::string fileId; ///< of the result, once it was asked for after its end
};

/// The videos and songs of all accounts, under way or ended.
class JobTable {
public:
    explicit JobTable(Database& database) : database_(database) {}

    void add(const std::string& account, const Job& job);
    std::optional<Job> find(const std::string& account, const std::string& kind, const std::string& id);
    void setFile(const std::string& account, const std::string& id, const std::string& fileId);

private:
    Database& database_;
};

} // namespace teskal::service
