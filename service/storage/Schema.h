#pragma once

#include <cstdint>

namespace teskal::service::schema {

/// Marks a database as this service's: "TKLS" in ASCII.
inline constexpr std::int64_t applicationId = 0x544B4C53;
/// Layout of the tables below; raised when they change.
inline constexpr std::int64_t version = 1;

/// Times are milliseconds since 1970. Tokens and keys are kept as SHA-256 only. An account is its `sub`.
inline constexpr const char* tables = R"(
CREATE TABLE sessions (
    id TEXT PRIMARY KEY, sub TEXT NOT NULL, name TEXT NOT NULL, email TEXT NOT NULL
) WITHOUT ROWID;
CREATE TABLE access_tokens (
    hash TEXT PRIMARY KEY, expires INTEGER NOT NULL,
    session TEXT NOT NULL REFERENCES sessions (id) ON DELETE CASCADE
) WITHOUT ROWID;
CREATE INDEX access_by_session ON access_tokens (session);
CREATE TABLE refresh_tokens (
    hash TEXT PRIMARY KEY, session TEXT NOT NULL REFERENCES sessions (id) ON DELETE CASCADE
) WITHOUT ROWID;
CREATE INDEX refresh_by_session ON refresh_tokens (session);

CREATE TABLE chats (
    account TEXT NOT NULL, id TEXT NOT NULL, updated REAL NOT NULL, deleted INTEGER NOT NULL,
    title TEXT NOT NULL, json TEXT NOT NULL, PRIMARY KEY (account, id)
);
-- Holds all that the list shows, so that listing reads no chat.
CREATE INDEX chat_list ON chats (account, updated DESC, id, deleted, title);

CREATE TABLE folders (account TEXT PRIMARY KEY, document TEXT NOT NULL);

CREATE TABLE files (
    account TEXT NOT NULL, id TEXT NOT NULL, type TEXT NOT NULL, bytes BLOB NOT NULL, PRIMARY KEY (account, id)
);
CREATE TABLE jobs (
    account TEXT NOT NULL, id TEXT NOT NULL, kind TEXT NOT NULL, prompt TEXT NOT NULL, due INTEGER NOT NULL,
    fails INTEGER NOT NULL, file TEXT NOT NULL, PRIMARY KEY (account, id)
);

CREATE TABLE accounts (
    account TEXT PRIMARY KEY, balance INTEGER NOT NULL, anonymize INTEGER NOT NULL, disabled_models TEXT NOT NULL
);
CREATE TABLE checkouts (
    id TEXT PRIMARY KEY, account TEXT NOT NULL, credits INTEGER NOT NULL, expires INTEGER NOT NULL
);
CREATE TABLE keys (
    id TEXT PRIMARY KEY, account TEXT NOT NULL, name TEXT NOT NULL, prefix TEXT NOT NULL, hash TEXT NOT NULL UNIQUE,
    created INTEGER NOT NULL, revoked INTEGER, used INTEGER
);
CREATE INDEX keys_by_account ON keys (account);
)";

} // namespace teskal::service::schema
