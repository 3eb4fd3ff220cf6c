#include "storage/KeyTable.h"

#include "Encoding.h"

namespace teskal::service {

namespace {

std::optional<std::int64_t> timeAt(const Query& row, int column) {
    return row.isNull(column) ? std::nullopt : std::optional(row.integer(column));
}

} // namespace

std::vector<ApiKey> KeyTable::list(const std::string& account) {
    const auto rows = database_.query("SELECT id, name, prefix, created, revoked, used FROM keys "
                                      "WHERE account = ? ORDER BY created DESC, id",
                                      account);
    std::vector<ApiKey> keys;
    while (rows->next())
        keys.push_back({rows->text(0), rows->text(1), rows->text(2), rows->integer(3), timeAt(*rows, 4),
                        timeAt(*rows, 5)});
    return keys;
}

void KeyTable::add(const std::string& account, const ApiKey& key, const std::string& secret) {
    database_.run("INSERT INTO keys (id, account, name, prefix, hash, created) VALUES (?, ?, ?, ?, ?, ?)",
                  key.id, account, key.name, key.prefix, hex(sha256(secret)), key.createdMs);
}

bool KeyTable::revoke(const std::string& account, const std::string& id, std::int64_t nowMs) {
    return database_.run("UPDATE keys SET revoked = coalesce(revoked, ?) WHERE account = ? AND id = ?", nowMs,
                         account, id) > 0;
}

std::optional<std::string> KeyTable::use(const std::string& secret, std::int64_t nowMs) {
    const std::string hash = hex(sha256(secret));
    database_.run("UPDATE keys SET used = ? WHERE hash = ? AND revoked IS NULL", nowMs, hash);
    const auto row = database_.query("SELECT account FROM keys WHERE hash = ? AND revoked IS NULL", hash);
    return row->next() ? std::optional(row->text(0)) : std::nullopt;
}

} // namespace teskal::service
