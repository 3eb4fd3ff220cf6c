#pragma once

#include "Forms.h"
#include "storage/SignInTable.h"

#include <chrono>
#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <variant>

namespace teskal::service {

/// What a refresh answers with: a new refresh token (the old one dies), none (the old one lives on), or
/// the old one again. `None` never hands out a refresh token at all.
enum class RefreshPolicy { Rotate, Omit, Keep, None };
std::optional<RefreshPolicy> refreshPolicyFrom(std::string_view name);

struct TokenPolicy {
    std::chrono::seconds accessTokenLife{3600};
    RefreshPolicy refresh = RefreshPolicy::Rotate;
};

/// An authorization request that was found in order.
struct AuthorizeRequest {
    std::string redirectUri;
    std::string state;
    std::string codeChallenge;
};

/// Why an authorization request cannot go on. With `redirect` set the error travels back to the client
/// by that URL, otherwise only a page may say it (RFC 6749 section 4.1.2.1).
struct AuthorizeProblem {
    std::string message;
    std::optional<std::string> redirect;
};

struct IssuedTokens {
    std::string accessToken;
    std::chrono::seconds life{};
    std::optional<std::string> refreshToken;
};

/// An error of the token endpoint (RFC 6749 section 5.2).
struct TokenProblem {
    int status = 400;
    std::string error;
    std::string description;
};

/// True when `verifier` is a well-formed code verifier whose S256 challenge is `challenge` (RFC 7636).
bool verifiesPkce(const std::string& verifier, const std::string& challenge);

/// The callback URL with `fields` as its query.
std::string callbackUrl(const std::string& redirectUri, const Form& fields);

/// The identity provider: consents under way and codes in memory, sessions and tokens in the database. It
/// holds no clock and no lock; callers pass the time and see to it that one thread is inside at a time.
class OAuthProvider {
public:
    OAuthProvider(TokenPolicy policy, Database& database)
        : policy_(policy), database_(database), signIns_(database) {}

    static std::variant<AuthorizeRequest, AuthorizeProblem> check(const Form& query);

    /// Remembers a request while the consent page is shown; the identifier is good for ten minutes.
    std::string beginConsent(AuthorizeRequest request, TimePoint now);
    /// The request behind a consent page, once.
    std::optional<AuthorizeRequest> takeConsent(const std::string& id, TimePoint now);
    /// A code for `profile`: single use, good for a minute.
    std::string issueCode(const AuthorizeRequest& request, const Profile& profile, TimePoint now);

    /// The token endpoint: `authorization_code` and `refresh_token` grants.
    std::variant<IssuedTokens, TokenProblem> exchange(const Form& form, TimePoint now);
    /// Who holds `accessToken`, if it is known and has not expired.
    std::optional<Profile> holderOf(const std::string& accessToken, TimePoint now);
    /// Ends the session that an access or refresh token belongs to. Unknown tokens are ignored.
    void revoke(const std::string& token);

    const TokenPolicy& policy() const { return policy_; }
    void setPolicy(TokenPolicy policy) { policy_ = policy; }
    void expireAccessTokens();
    void revokeAll();

    struct Counts {
        std::size_t consents = 0; ///< consent pages under way
        std::size_t codesIssued = 0;
        std::size_t tokensIssued = 0;
        std::size_t refreshes = 0;
        std::size_t revocations = 0;
        std::size_t sessions = 0; ///< alive now
    };
    Counts counts();

private:
    struct Consent {
        AuthorizeRequest request;
        TimePoint expiresAt;
    };
    struct Code {
        AuthorizeRequest request;
        Profile profile;
        TimePoint expiresAt;
        std::string session; ///< set once the code was used
    };

    std::variant<IssuedTokens, TokenProblem> exchangeCode(const Form& form, TimePoint now);
    std::variant<IssuedTokens, TokenProblem> exchangeRefreshToken(const Form& form, TimePoint now);
    std::string issueAccessToken(const std::string& session, TimePoint now);
    std::string issueRefreshToken(const std::string& session);
    void forgetExpired(TimePoint now);

    TokenPolicy policy_;
    Database& database_;
    Counts counts_;
    std::map<std::string, Consent> consents_;
    std::map<std::string, Code> codes_;
    SignInTable signIns_;
};

} // namespace teskal::service
