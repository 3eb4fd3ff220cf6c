#include "storage/ChatTable.h"

#include <algorithm>

namespace teskal::service {

std::vector<StoredChat> ChatTable::list(const std::string& account) {
    const auto rows = database_.query("SELECT id, title, updated, deleted FROM chats WHERE account = ? "
                                      "ORDER BY updated DESC, id",
                                      account);
    std::vector<StoredChat> chats;
    while (rows->next())
        chats.push_back({rows->text(0), rows->text(1), rows->number(2), rows->integer(3) != 0, {}});
    return chats;
}

std::optional<StoredChat> ChatTable::find(const std::string& account, const std::string& id) {
    const auto row = database_.query(
        "SELECT title, updated, json FROM chats WHERE account = ? AND id = ? AND deleted = 0", account, id);
    if (!row->next())
        return std::nullopt;
    return StoredChat{id, row->text(0), row->number(1), false, row->text(2)};
}

ChatTable::Put ChatTable::put(const std::string& account, const StoredChat& chat) {
    {
        const auto row = database_.query("SELECT updated, deleted FROM chats WHERE account = ? AND id = ?",
                                         account, chat.id);
        if (row->next()) {
            const double stored = row->number(0);
            if (row->integer(1) != 0 && stored >= chat.updatedAt)
                return Put::Deleted;
            if (stored > chat.updatedAt)
                return Put::Newer;
            if (stored == chat.updatedAt)
                return Put::Saved;
        }
    }
    database_.run(
        "INSERT INTO chats (account, id, updated, deleted, title, json) VALUES (?, ?, ?, 0, ?, ?) "
        "ON CONFLICT DO UPDATE SET updated = excluded.updated, deleted = 0, title = excluded.title, "
        "json = excluded.json",
        account, chat.id, chat.updatedAt, chat.title, chat.json);
    return Put::Saved;
}

bool ChatTable::remove(const std::string& account, const std::string& id, double at) {
    // A tombstone keeps the later of its times; a chat gives way only to a deletion that is not older.
    database_.run(
        "INSERT INTO chats (account, id, updated, deleted, title, json) VALUES (?, ?, ?, 1, '', '') "
        "ON CONFLICT DO UPDATE SET updated = excluded.updated, deleted = 1, title = '', json = '' "
        "WHERE chats.updated <= excluded.updated",
        account, id, at);
    const auto row = database_.query("SELECT deleted FROM chats WHERE account = ? AND id = ?", account, id);
    return row->next() && row->integer(0) != 0;
}

} // namespace teskal::service
