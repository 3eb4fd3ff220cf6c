#include "storage/FileTable.h"

#include "Encoding.h"

namespace teskal::service {

std::string FileTable::add(const std::string& account, const StoredFile& file) {
    std::string id = randomId();
    const auto insert = database_.query("INSERT INTO files (account, id, type, bytes) VALUES (?, ?, ?, ?)",
                                        account, id, file.type);
    insert->bindBlob(file.bytes).run();
    return id;
}

std::optional<StoredFile> FileTable::find(const std::string& account, const std::string& id) {
    const auto row =
        database_.query("SELECT type, bytes FROM files WHERE account = ? AND id = ?", account, id);
    if (!row->next())
        return std::nullopt;
    return StoredFile{row->text(0), row->text(1)};
}

} // namespace teskal::service
