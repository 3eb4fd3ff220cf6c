#pragma once

#include "storage/Database.h"

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>

namespace teskal::service {

using TimePoint = std::chrono::system_clock::time_point;

/// Who signed in. `sub` follows from the e-mail address, so that it is the same everywhere.
struct Profile {
    std::string sub;
    std::string name;
    std::string email;

    static Profile of(const std::string& name, const std::string& email);
};

/// Sessions and the tokens that belong to them. Of a token only its hash is kept; ending a session ends them.
class SignInTable {
public:
    explicit SignInTable(Database& database) : database_(database) {}

    void addSession(const std::string& session, const Profile& profile);
    void endSession(const std::string& session);
    void endAll();
    std::size_t sessions();

    void addAccessToken(const std::string& token, const std::string& session, TimePoint expiresAt);
    void addRefreshToken(const std::string& token, const std::string& session);
    void removeRefreshToken(const std::string& token);
    void expireAccessTokens();
    void forgetExpired(TimePoint now);

    std::optional<Profile> holderOf(const std::string& accessToken, TimePoint now);
    std::optional<std::string> sessionOfAccessToken(const std::string& token);
    std::optional<std::string> sessionOfRefreshToken(const std::string& token);

private:
    Database& database_;
};

} // namespace teskal::service
