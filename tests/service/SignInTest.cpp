#include "RawSocket.h"
#include "RunningService.h"

#include <gtest/gtest.h>

using namespace teskal::service;

namespace {

std::string authorizePath(const Form& query = authorizeQuery()) {
    return "/oauth/authorize?" + formText(query);
}

} // namespace

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

TEST(SignIn, OnlyThisComputerIsServed) {
    const RunningService service;
    EXPECT_TRUE(RawSocket(service.port()).isConnected());
    // Also loopback, but another address of it: open only to a service bound to every interface.
    EXPECT_FALSE(RawSocket(service.port(), "127.0.0.2").isConnected());
    const auto rebound = service.client()->Get("/status", {{"Host", "evil.example"}});
    EXPECT_EQ(rebound->status, 421);
}
