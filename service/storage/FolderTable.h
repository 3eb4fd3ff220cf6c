#pragma once

#include "storage/Database.h"

#include <string>

namespace teskal::service {

/// The folder document of each account, as JSON text.
class FolderTable {
public:
    explicit FolderTable(Database& database) : database_(database) {}

    /// "{}" for an account that never had folders.
    std::string load(const std::string& account);
    void save(const std::string& account, const std::string& document);

private:
    Database& database_;
};

} // namespace teskal::service
