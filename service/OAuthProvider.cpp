#include "OAuthProvider.h"

#include "Encoding.h"

#include <algorithm>
#include <string_view>

namespace teskal::service {

namespace {

constexpr std::string_view clientId = "dcr_5a1e7c0b93f24d68ae01b7c4d9f2e385";
constexpr std::string_view redirectUri = "app.teskal.mac://callback";
constexpr std::chrono::minutes consentLife{10};
constexpr std::chrono::minutes codeLife{1};
constexpr std::size_t maxConsents = 1000;

bool hasOnly(std::string_view text, std::string_view extra) {
    return std::all_of(text.begin(), text.end(), [&](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
               extra.find(c) != std::string_view::npos;
    });
}

TokenProblem invalidGrant(std::string description) {
    return {400, "invalid_grant", std::move(description)};
}

template<typename Map>
void eraseExpired(Map& map, TimePoint now) {
    std::erase_if(map, [&](const auto& entry) { return entry.second.expiresAt <= now; });
}

} // namespace

std::optional<RefreshPolicy> refreshPolicyFrom(std::string_view name) {
    if (name == "rotate")
        return RefreshPolicy::Rotate;
    if (name == "omit")
        return RefreshPolicy::Omit;
    if (name == "keep")
        return RefreshPolicy::Keep;
    if (name == "none")
        return RefreshPolicy::None;
    return std::nullopt;
}

bool verifiesPkce(const std::string& verifier, const std::string& challenge) {
    if (verifier.size() < 43 || verifier.size() > 128 || !hasOnly(verifier, "-._~"))
        return false;
    return base64Url(sha256(verifier)) == challenge;
}

std::string callbackUrl(const std::string& uri, const Form& fields) {
    return uri + '?' + formText(fields);
}

std::variant<AuthorizeRequest, AuthorizeProblem> OAuthProvider::check(const Form& query) {
    if (formValue(query, "client_id") != clientId)
        return AuthorizeProblem{"This application is not known here.", std::nullopt};
    const std::string uri = formValue(query, "redirect_uri");
    if (uri != redirectUri)
        return AuthorizeProblem{"This application may not be answered at that address.", std::nullopt};

    const std::string state = formValue(query, "state");
    const auto fail = [&](const std::string& error, const std::string& message) {
        Form fields = {{"error", error}, {"error_description", message}};
        if (!state.empty())
            fields["state"] = state;
        return AuthorizeProblem{message, callbackUrl(uri, fields)};
    };
    if (formValue(query, "response_type") != "code")
        return fail("unsupported_response_type", "Only the response type \"code\" is supported.");
    if (state.empty())
        return fail("invalid_request", "The request has no state.");
    if (formValue(query, "code_challenge_method") != "S256")
        return fail("invalid_request", "The code challenge method must be S256.");
    const std::string challenge = formValue(query, "code_challenge");
    if (challenge.size() != 43 || !hasOnly(challenge, "-_"))
        return fail("invalid_request", "The code challenge is malformed.");
    return AuthorizeRequest{uri, state, challenge};
}

std::string OAuthProvider::beginConsent(AuthorizeRequest request, TimePoint now) {
    eraseExpired(consents_, now);
    if (consents_.size() >= maxConsents)
        consents_.clear(); // someone is hammering the page; real people simply open it again
    std::string id = randomText(18);
    consents_[id] = {std::move(request), now + consentLife};
    return id;
}

std::optional<AuthorizeRequest> OAuthProvider::takeConsent(const std::string& id, TimePoint now) {
    eraseExpired(consents_, now);
    auto node = consents_.extract(id);
    if (node.empty())
        return std::nullopt;
    return std::move(node.mapped().request);
}

std::string OAuthProvider::issueCode(const AuthorizeRequest& request, const Profile& profile, TimePoint now) {
    forgetExpired(now);
    std::string code = "code_" + randomText(24);
    codes_[code] = {request, profile, now + codeLife, {}};
    ++counts_.codesIssued;
    return code;
}

std::variant<IssuedTokens, TokenProblem> OAuthProvider::exchange(const Form& form, TimePoint now) {
    if (formValue(form, "client_id") != clientId)
        return TokenProblem{401, "invalid_client", "This application is not known here."};
    const std::string type = formValue(form, "grant_type");
    if (type == "authorization_code")
        return exchangeCode(form, now);
    if (type == "refresh_token")
        return exchangeRefreshToken(form, now);
    if (type.empty())
        return TokenProblem{400, "invalid_request", "The grant type is missing."};
    return TokenProblem{400, "unsupported_grant_type", "This grant type is not supported."};
}

std::variant<IssuedTokens, TokenProblem> OAuthProvider::exchangeCode(const Form& form, TimePoint now) {
    const auto found = codes_.find(formValue(form, "code"));
    if (found == codes_.end())
        return invalidGrant("The sign-in code is not known.");
    Code& code = found->second;
    if (!code.session.empty()) {
        signIns_.endSession(code.session); // a code seen twice was stolen (RFC 6749 section 4.1.2)
        return invalidGrant("The sign-in code was used before.");
    }
    code.session = "session_" + randomText(12); // from here on it is used, whatever comes of it
    if (code.expiresAt <= now)
        return invalidGrant("The sign-in code has expired.");
    if (formValue(form, "redirect_uri") != code.request.redirectUri)
        return invalidGrant("The redirect address differs from the one the code was made for.");
    if (!verifiesPkce(formValue(form, "code_verifier"), code.request.codeChallenge))
        return invalidGrant("The code verifier does not match.");

    Transaction transaction(database_); // a session is never without its tokens
    signIns_.addSession(code.session, code.profile);
    IssuedTokens tokens{issueAccessToken(code.session, now), policy_.accessTokenLife, std::nullopt};
    if (policy_.refresh != RefreshPolicy::None)
        tokens.refreshToken = issueRefreshToken(code.session);
    transaction.commit();
    return tokens;
}

std::variant<IssuedTokens, TokenProblem> OAuthProvider::exchangeRefreshToken(const Form& form,
                                                                             TimePoint now) {
    const std::string token = formValue(form, "refresh_token");
    const auto session = signIns_.sessionOfRefreshToken(token);
    if (!session)
        return invalidGrant("The session has ended.");
    Transaction transaction(database_); // the old token goes only when the new one is there
    forgetExpired(now);
    ++counts_.refreshes;
    IssuedTokens tokens{issueAccessToken(*session, now), policy_.accessTokenLife, std::nullopt};
    if (policy_.refresh == RefreshPolicy::Keep)
        tokens.refreshToken = token;
    if (policy_.refresh == RefreshPolicy::Rotate) {
        signIns_.removeRefreshToken(token);
        tokens.refreshToken = issueRefreshToken(*session);
    }
    transaction.commit();
    return tokens;
}

std::optional<Profile> OAuthProvider::holderOf(const std::string& accessToken, TimePoint now) {
    return signIns_.holderOf(accessToken, now);
}

void OAuthProvider::revoke(const std::string& token) {
    auto session = signIns_.sessionOfRefreshToken(token);
    if (!session)
        session = signIns_.sessionOfAccessToken(token);
    if (!session)
        return;
    ++counts_.revocations;
    signIns_.endSession(*session);
}

void OAuthProvider::expireAccessTokens() {
    signIns_.expireAccessTokens();
}

void OAuthProvider::revokeAll() {
    signIns_.endAll();
}

OAuthProvider::Counts OAuthProvider::counts() {
    Counts counts = counts_;
    counts.consents = consents_.size();
    counts.sessions = signIns_.sessions();
    return counts;
}

std::string OAuthProvider::issueAccessToken(const std::string& session, TimePoint now) {
    std::string token = "at_" + randomText(32);
    signIns_.addAccessToken(token, session, now + policy_.accessTokenLife);
    ++counts_.tokensIssued;
    return token;
}

std::string OAuthProvider::issueRefreshToken(const std::string& session) {
    std::string token = "rt_" + randomText(32);
    signIns_.addRefreshToken(token, session);
    return token;
}

void OAuthProvider::forgetExpired(TimePoint now) {
    // Used codes stay for a while after they expire, so that a second use is still recognised.
    std::erase_if(codes_,
                  [&](const auto& entry) { return entry.second.expiresAt + std::chrono::hours(1) <= now; });
    signIns_.forgetExpired(now);
}

} // namespace teskal::service
