#include "storage/SignInTable.h"

#include "Encoding.h"

namespace teskal::service {

namespace {

std::int64_t milliseconds(TimePoint time) {
    return std::chrono::duration_cast<std::chrono::milliseconds>(time.time_since_epoch()).count();
}

std::string hashOf(const std::string& token) {
    return hex(sha256(token));
}

std::optional<std::string> firstText(const std::unique_ptr<Query>& row) {
    return row->next() ? std::optional(row->text(0)) : std::nullopt;
}

} // namespace

Profile Profile::of(const std::string& name, const std::string& email) {
    const std::string address = lowerAscii(trimmed(email));
    return {"user_" + hex(sha256("teskal-local-service:" + address)).substr(0, 24), name,
            std::string(trimmed(email))};
}

void SignInTable::addSession(const std::string& session, const Profile& profile) {
    database_.run("INSERT INTO sessions (id, sub, name, email) VALUES (?, ?, ?, ?)", session, profile.sub,
                  profile.name, profile.email);
}

void SignInTable::endSession(const std::string& session) {
    database_.run("DELETE FROM sessions WHERE id = ?", session);
}

void SignInTable::endAll() {
    database_.run("DELETE FROM sessions");
}

std::size_t SignInTable::sessions() {
    const auto row = database_.query("SELECT count(*) FROM sessions");
    row->next();
    return static_cast<std::size_t>(row->integer(0));
}

void SignInTable::addAccessToken(const std::string& token, const std::string& session, TimePoint expiresAt) {
    database_.run("INSERT INTO access_tokens (hash, session, expires) VALUES (?, ?, ?)", hashOf(token),
                  session, milliseconds(expiresAt));
}

void SignInTable::addRefreshToken(const std::string& token, const std::string& session) {
    database_.run("INSERT INTO refresh_tokens (hash, session) VALUES (?, ?)", hashOf(token), session);
}

void SignInTable::removeRefreshToken(const std::string& token) {
    database_.run("DELETE FROM refresh_tokens WHERE hash = ?", hashOf(token));
}

void SignInTable::expireAccessTokens() {
    database_.run("UPDATE access_tokens SET expires = 0");
}

void SignInTable::forgetExpired(TimePoint now) {
    database_.run("DELETE FROM access_tokens WHERE expires <= ?", milliseconds(now));
}

std::optional<Profile> SignInTable::holderOf(const std::string& accessToken, TimePoint now) {
    const std::string hash = hashOf(accessToken);
    const auto row = database_.query("SELECT sub, name, email FROM access_tokens "
                                     "JOIN sessions ON sessions.id = session WHERE hash = ? AND expires > ?",
                                     hash, milliseconds(now));
    if (!row->next())
        return std::nullopt;
    return Profile{row->text(0), row->text(1), row->text(2)};
}

std::optional<std::string> SignInTable::sessionOfAccessToken(const std::string& token) {
    const std::string hash = hashOf(token);
    return firstText(database_.query("SELECT session FROM access_tokens WHERE hash = ?", hash));
}

std::optional<std::string> SignInTable::sessionOfRefreshToken(const std::string& token) {
    const std::string hash = hashOf(token);
    return firstText(database_.query("SELECT session FROM refresh_tokens WHERE hash = ?", hash));
}

} // namespace teskal::service
