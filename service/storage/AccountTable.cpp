#include "storage/AccountTable.h"

#include "Encoding.h"

namespace teskal::service {

namespace {

constexpr std::int64_t startBalance = 2500;

} // namespace

/// Makes the account's row when there is none.
void AccountTable::ensure(const std::string& account) {
    const AccountSettings defaults;
    database_.run("INSERT INTO accounts (account, balance, anonymize, disabled_models) VALUES (?, ?, ?, ?) "
                  "ON CONFLICT DO NOTHING",
                  account, startBalance, defaults.anonymize, defaults.disabledModels);
}

std::int64_t AccountTable::balance(const std::string& account) {
    const auto row = database_.query("SELECT balance FROM accounts WHERE account = ?", account);
    return row->next() ? row->integer(0) : startBalance;
}

bool AccountTable::charge(const std::string& account, std::int64_t credits) {
    ensure(account);
    return database_.run(
               "UPDATE accounts SET balance = max(0, balance - ?) WHERE account = ? AND balance > 0", credits,
               account) > 0;
}

std::string AccountTable::beginCheckout(const std::string& account, std::int64_t credits,
                                        std::int64_t expiresMs) {
    std::string id = randomText(18);
    database_.run("INSERT INTO checkouts (id, account, credits, expires) VALUES (?, ?, ?, ?)", id, account,
                  credits, expiresMs);
    return id;
}

std::optional<std::int64_t> AccountTable::checkout(const std::string& id, std::int64_t nowMs) {
    database_.run("DELETE FROM checkouts WHERE expires <= ?", nowMs);
    const auto row = database_.query("SELECT credits FROM checkouts WHERE id = ?", id);
    return row->next() ? std::optional(row->integer(0)) : std::nullopt;
}

std::optional<std::int64_t> AccountTable::finishCheckout(const std::string& id, std::int64_t nowMs) {
    const auto credits = checkout(id, nowMs);
    if (!credits)
        return std::nullopt;
    Transaction transaction(database_);
    std::string account;
    {
        const auto row = database_.query("DELETE FROM checkouts WHERE id = ? RETURNING account", id);
        row->next();
        account = row->text(0);
        row->next();
    }
    ensure(account);
    database_.run("UPDATE accounts SET balance = balance + ? WHERE account = ?", *credits, account);
    transaction.commit();
    return credits;
}

AccountSettings AccountTable::settings(const std::string& account) {
    const auto row =
        database_.query("SELECT anonymize, disabled_models FROM accounts WHERE account = ?", account);
    return row->next() ? AccountSettings{row->integer(0) != 0, row->text(1)} : AccountSettings{};
}

void AccountTable::setSettings(const std::string& account, const AccountSettings& settings) {
    ensure(account);
    database_.run("UPDATE accounts SET anonymize = ?, disabled_models = ? WHERE account = ?",
                  settings.anonymize, settings.disabledModels, account);
}

} // namespace teskal::service
