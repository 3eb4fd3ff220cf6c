#include "OAuthRoutes.h"

#include "ConsentPage.h"
#include "Encoding.h"

namespace teskal::service {

namespace {

HttpReply tokenError(const TokenProblem& problem) {
    return jsonReply(problem.status, {{"error", problem.error}, {"error_description", problem.description}});
}

/// The fields of a form request, or the error to answer with.
std::variant<Form, HttpReply> formOf(const HttpRequest& request) {
    if (!headerValue(request.headers, "Content-Type").starts_with("application/x-www-form-urlencoded"))
        return tokenError({415, "invalid_request", "The request must be a form."});
    auto form = parseForm(request.body);
    if (!form)
        return tokenError({400, "invalid_request", "The form is malformed."});
    return std::move(*form);
}

HttpReply denied(const AuthorizeRequest& request) {
    return redirectReply(
        302, callbackUrl(request.redirectUri, {{"error", "access_denied"},
                                               {"error_description", "You didn’t let Teskal sign in."},
                                               {"state", request.state}}));
}

HttpReply allowed(const AuthorizeRequest& request, const Profile& profile, ServiceState& state) {
    const std::string code = state.oauth.issueCode(request, profile, state.clock.now());
    return redirectReply(302, callbackUrl(request.redirectUri, {{"code", code}, {"state", request.state}}));
}

bool looksLikeEmail(std::string_view text) {
    const auto at = text.find('@');
    return text.size() <= 200 && at != std::string_view::npos && at > 0 && at + 1 < text.size() &&
           text.find_first_of(" \t\r\n<>\"") == std::string_view::npos;
}

} // namespace

std::string bearerTokenIn(const HttpRequest& request) {
    constexpr std::string_view scheme = "bearer ";
    const std::string header = headerValue(request.headers, "Authorization");
    return lowerAscii(header).starts_with(scheme) ? header.substr(scheme.size()) : std::string{};
}

std::optional<Profile> bearerOf(const HttpRequest& request, SharedState& state) {
    const std::string token = bearerTokenIn(request);
    return state.with([&](ServiceState& s) { return s.oauth.holderOf(token, s.clock.now()); });
}

HttpReply unauthorized() {
    HttpReply reply = jsonReply(401, Json::object());
    setHeader(reply.headers, "WWW-Authenticate", "Bearer error=\"invalid_token\"");
    return reply;
}

HttpReply showAuthorize(const HttpRequest& request, SharedState& state) {
    auto checked = OAuthProvider::check(request.query);
    if (const auto* problem = std::get_if<AuthorizeProblem>(&checked))
        return problem->redirect ? redirectReply(302, *problem->redirect)
                                 : signInProblemPage(problem->message);
    auto& authorize = std::get<AuthorizeRequest>(checked);
    return state.with([&](ServiceState& s) {
        if (s.consent.automatic)
            return s.consent.deny ? denied(authorize)
                                  : allowed(authorize, Profile::of(s.consent.name, s.consent.email), s);
        const std::string consent = s.oauth.beginConsent(std::move(authorize), s.clock.now());
        return consentPage(consent, s.consent.name, s.consent.email);
    });
}

HttpReply decideAuthorize(const HttpRequest& request, SharedState& state) {
    const auto form = parseForm(request.body);
    if (!form)
        return signInProblemPage("The answer was malformed.");
    const std::string email = formValue(*form, "email");
    const std::string decision = formValue(*form, "decision");
    if (decision == "allow" && !looksLikeEmail(email))
        return signInProblemPage("That is not an e-mail address.");
    return state.with([&](ServiceState& s) {
        const auto authorize = s.oauth.takeConsent(formValue(*form, "consent"), s.clock.now());
        if (!authorize)
            return signInProblemPage("It was open for too long, or was answered before.");
        if (decision != "allow")
            return denied(*authorize);
        const std::string name(trimmed(formValue(*form, "name")).substr(0, 400));
        return allowed(*authorize, Profile::of(isUtf8(name) ? name : "", email), s);
    });
}

HttpReply exchangeToken(const HttpRequest& request, SharedState& state) {
    auto form = formOf(request);
    if (auto* error = std::get_if<HttpReply>(&form))
        return std::move(*error);
    const auto result =
        state.with([&](ServiceState& s) { return s.oauth.exchange(std::get<Form>(form), s.clock.now()); });
    if (const auto* problem = std::get_if<TokenProblem>(&result))
        return tokenError(*problem);
    const auto& tokens = std::get<IssuedTokens>(result);
    Json body = {{"access_token", tokens.accessToken},
                 {"token_type", "Bearer"},
                 {"expires_in", tokens.life.count()},
                 {"scope", "openid profile email"}};
    if (tokens.refreshToken)
        body["refresh_token"] = *tokens.refreshToken;
    return jsonReply(200, body);
}

HttpReply userInfo(const HttpRequest& request, SharedState& state) {
    const auto profile = bearerOf(request, state);
    if (!profile)
        return unauthorized();
    Json body = {{"sub", profile->sub}, {"email", profile->email}};
    if (!profile->name.empty())
        body["name"] = profile->name;
    return jsonReply(200, body);
}

HttpReply revokeToken(const HttpRequest& request, SharedState& state) {
    auto form = formOf(request);
    if (auto* error = std::get_if<HttpReply>(&form))
        return std::move(*error);
    const std::string token = formValue(std::get<Form>(form), "token");
    if (token.empty())
        return tokenError({400, "invalid_request", "The token is missing."});
    state.with([&](ServiceState& s) { s.oauth.revoke(token); });
    return jsonReply(200, Json::object());
}

} // namespace teskal::service
