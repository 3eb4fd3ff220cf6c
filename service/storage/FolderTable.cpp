#include "storage/FolderTable.h"

namespace teskal::service {

std::string FolderTable::load(const std::string& account) {
    const auto row = database_.query("SELECT document FROM folders WHERE account = ?", account);
    return row->next() ? row->text(0) : "{}";
}

void FolderTable::save(const std::string& account, const std::string& document) {
    database_.run("INSERT INTO folders (account, document) VALUES (?, ?) "
                  "ON CONFLICT DO UPDATE SET document = excluded.document",
                  account, document);
}

} // namespace teskal::service
