#pragma once

#include "storage/Database.h"

#include <optional>
#include <string>

namespace teskal::service {

/// A file as its owner sent it, or as a job made it.
struct StoredFile {
    std::string type; ///< as it was sent in Content-Type
    std::string bytes;
};

/// Attachments and generated results.
class FileTable {
public:
    explicit FileTable(Database& database) : database_(database) {}

    /// Stores a file; gives its new identifier, twelve of [a-z0-9].
    std::string add(const std::string& account, const StoredFile& file);
    std::optional<StoredFile> find(const std::string& account, const std::string& id);

private:
    Database& database_;
};

} // namespace teskal::service
