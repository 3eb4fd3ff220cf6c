#include "RawSocket.h"
#include "RunningService.h"

#include <gtest/gtest.h>

using namespace teskal::service;

namespace {

std::string consentIn(const std::string& page) {
    const std::string mark = "name=\"consent\" value=\"";
    const auto begin = page.find(mark) + mark.size();
    return page.substr(begin, page.find('"', begin) - begin);
}

std::string authorizePath(const Form& query = authorizeQuery()) {
    return "/oauth/authorize?" + formText(query);
}

} // namespace

TEST(SignIn, ThePageAsksAndItsFormLeadsBack) {
    Options options = RunningService::quick();
    options.autoConsent = false;
    const RunningService service(options);
    const auto http = service.client();
    const auto page = http->Get(authorizePath());
    ASSERT_TRUE(page);
    EXPECT_EQ(page->status, 200);
    EXPECT_NE(page->body.find("you@example.org"), std::string::npos);
    const std::string policy = page->get_header_value("Content-Security-Policy");
    EXPECT_TRUE(policy.starts_with("default-src 'none'; style-src 'nonce-")) << policy;
    EXPECT_NE(policy.find("form-action 'self' app.teskal.mac:;"), std::string::npos) << policy;

    const Form allow = {{"consent", consentIn(page->body)},
                        {"name", "Zoë \"Z\" <b>"},
                        {"email", "zoe@example.org"},
                        {"decision", "allow"}};
    const auto redirect = postForm(*http, "/oauth/authorize", allow);
    ASSERT_TRUE(redirect);
    EXPECT_EQ(redirect->status, 302);
    EXPECT_TRUE(redirect->get_header_value("Location").starts_with("app.teskal.mac://callback?"));
    EXPECT_EQ(formValue(locationQuery(redirect), "state"), "a-state");
    EXPECT_EQ(postForm(*http, "/oauth/authorize", allow)->status, 400) << "answered before";

    const auto tokens =
        postForm(*http, "/functions/v1/oauth/token", codeForm(formValue(locationQuery(redirect), "code")));
    ASSERT_EQ(tokens->status, 200);
    const Json reply = Json::parse(tokens->body);
    EXPECT_EQ(reply["token_type"], "Bearer");
    EXPECT_EQ(reply["expires_in"], 3600);
    const auto person = http->Get("/functions/v1/oauth/userinfo",
                                  {{"Authorization", "Bearer " + reply["access_token"].get<std::string>()}});
    EXPECT_EQ(Json::parse(person->body), Json({{"sub", Profile::of("", "zoe@example.org").sub},
                                               {"name", "Zoë \"Z\" <b>"},
                                               {"email", "zoe@example.org"}}));
}

TEST(SignIn, CancelAndDenialTravelBackAsErrors) {
    const RunningService service;
    const auto http = service.client();
    service.control("consent", {{"automatic", false}});
    const auto page = http->Get(authorizePath());
    const auto cancelled =
        postForm(*http, "/oauth/authorize", {{"consent", consentIn(page->body)}, {"decision", "cancel"}});
    EXPECT_EQ(formValue(locationQuery(cancelled), "error"), "access_denied");
    EXPECT_FALSE(formValue(locationQuery(cancelled), "error_description").empty());
    service.control("consent", {{"automatic", true}, {"deny", true}});
    const Form denied = locationQuery(http->Get(authorizePath()));
    EXPECT_EQ(formValue(denied, "error"), "access_denied");
    EXPECT_EQ(formValue(denied, "state"), "a-state");
}

TEST(SignIn, BadRequestsAreShownOrSentBack) {
    const RunningService service;
    const auto http = service.client();
    struct Case {
        const char* name;
        const char* value;
        const char* error; ///< empty: only a page may say it
    };
    for (const Case& c :
         {Case{"client_id", "someone", ""}, Case{"redirect_uri", "https://example.com/", ""},
          Case{"redirect_uri", "app.teskal.mac://callback/x", ""},
          Case{"response_type", "token", "unsupported_response_type"},
          Case{"code_challenge_method", "plain", "invalid_request"},
          Case{"code_challenge", "short", "invalid_request"}, Case{"state", "", "invalid_request"}}) {
        Form query = authorizeQuery();
        query[c.name] = c.value;
        const auto reply = http->Get(authorizePath(query));
        ASSERT_TRUE(reply);
        EXPECT_EQ(reply->status, *c.error ? 302 : 400) << c.name;
        EXPECT_EQ(formValue(locationQuery(reply), "error"), c.error) << c.name;
    }
}

TEST(SignIn, ExpiredAndRevokedTokensAreRefused) {
    const RunningService service;
    const auto http = service.client();
    const auto status = [&](const httplib::Headers& headers) {
        return http->Get("/functions/v1/oauth/userinfo", headers)->status;
    };
    httplib::Headers bearer = service.bearer();
    EXPECT_EQ(status(bearer), 200);
    EXPECT_EQ(status({}), 401);
    EXPECT_EQ(status({{"Authorization", "Basic abc"}}), 401);
    service.control("tokens", {{"expireAll", true}});
    EXPECT_EQ(status(bearer), 401);

    const Json tokens = service.signIn();
    bearer = {{"Authorization", "bearer " + tokens["access_token"].get<std::string>()}};
    EXPECT_EQ(status(bearer), 200);
    const auto revoked = postForm(*http, "/functions/v1/oauth/revoke", {{"token", tokens["refresh_token"]}});
    EXPECT_EQ(revoked->status, 200);
    EXPECT_EQ(status(bearer), 401);

    service.control("tokens", {{"accessTokenSeconds", 0}, {"refreshTokens", "none"}});
    const Json dead = service.signIn();
    EXPECT_FALSE(dead.contains("refresh_token"));
    EXPECT_EQ(status({{"Authorization", "Bearer " + dead["access_token"].get<std::string>()}}), 401);
}

TEST(SignIn, OnlyThisComputerIsServed) {
    const RunningService service;
    EXPECT_TRUE(RawSocket(service.port()).isConnected());
    // Also loopback, but another address of it: open only to a service bound to every interface.
    EXPECT_FALSE(RawSocket(service.port(), "127.0.0.2").isConnected());
    const auto rebound = service.client()->Get("/status", {{"Host", "evil.example"}});
    EXPECT_EQ(rebound->status, 421);
}
