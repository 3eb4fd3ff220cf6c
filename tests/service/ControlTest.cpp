#include "Encoding.h"
#include "RawSocket.h"
#include "RunningService.h"

#include <chrono>
#include <gtest/gtest.h>

using namespace teskal::service;

namespace {

/// What the client's tests do not see of the control interface that they steer the service by.
class ControlTest : public testing::Test {
protected:
    httplib::Result status() { return service.client()->Get("/status"); }
    httplib::Result ask(const std::string& text) {
        return service.client()->Post("/api/chat", headers, question(text), "application/json");
    }
    /// What comes back, byte for byte, for a plain GET.
    std::string rawStatus(RawSocket& socket) {
        socket.send("GET /status HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n");
        return socket.read();
    }

    RunningService service;
    httplib::Headers headers = service.bearer();
};

} // namespace

TEST_F(ControlTest, AppliesToWhatMatchesAsOftenAsAsked) {
    service.control(
        "next",
        Json::array({{{"path", "/status"}, {"method", "GET"}, {"status", 503}, {"times", 2}, {"skip", 1}},
                     {{"path", "/functions"}, {"status", 500}, {"json", {{"error", "server_error"}}}},
                     {{"path", "/there"}, {"redirect", {{"location", "http://127.0.0.1:1/x"}}}},
                     {{"path", "/api/chat"}, {"status", 418}}}));
    EXPECT_EQ(service.client()->Get("/there")->get_header_value("Location"), "http://127.0.0.1:1/x");
    EXPECT_EQ(service.client()->Get("/api/chats", headers)->status, 200) << "paths match whole segments";
    EXPECT_EQ(ask("hello")->status, 418);
    EXPECT_EQ(status()->status, 200);
    EXPECT_EQ(service.client()->Post("/status")->status, 405);
    EXPECT_EQ(status()->status, 503);
    EXPECT_EQ(status()->status, 503);
    EXPECT_EQ(status()->status, 200);
    const auto token = postForm(*service.client(), "/functions/v1/oauth/token", codeForm("x"));
    EXPECT_EQ(token->status, 500);
    EXPECT_EQ(Json::parse(token->body)["error"], "server_error");
}

TEST_F(ControlTest, SendsARawStreamInTheGivenSizes) {
    const std::string bytes = "Gr\xC3\xBC\xC3\x9F"
                              "e\x1E{\"type\":\"phase\"\x1D\xFF\x00 end";
    service.control("next", {{"path", "/status"},
                             {"rawStream", base64(bytes)},
                             {"chunks", {3, 1}},
                             {"headers", {{"X-Teskal-Model", "example/x"}, {"Connection", "close"}}}});
    RawSocket socket(service.port());
    const std::string reply = rawStatus(socket);
    EXPECT_NE(reply.find("X-Teskal-Model: example/x\r\n"), std::string::npos);
    const std::string body = reply.substr(reply.find("\r\n\r\n") + 4);
    EXPECT_TRUE(body.starts_with("3\r\nGr\xC3\r\n1\r\n\xBC\r\n3\r\n\xC3\x9F"
                                 "e\r\n"))
        << body;
    EXPECT_TRUE(body.ends_with("0\r\n\r\n"));
}

TEST_F(ControlTest, DelaysTheHeadersAndTheChunks) {
    const auto before = std::chrono::steady_clock::now();
    service.control("next", {{"path", "/status"}, {"delayMs", 120}});
    EXPECT_EQ(status()->status, 200);
    EXPECT_GE(std::chrono::steady_clock::now() - before, std::chrono::milliseconds(120));
    const auto middle = std::chrono::steady_clock::now();
    service.control(
        "next",
        {{"path", "/status"}, {"rawStream", base64("abcdef")}, {"chunks", {1}}, {"chunkDelayMs", 20}});
    EXPECT_EQ(status()->body, "abcdef");
    EXPECT_GE(std::chrono::steady_clock::now() - middle, std::chrono::milliseconds(120));
}

TEST_F(ControlTest, CutsBodiesAndConnections) {
    // A streamed reply without its end, and a whole one shorter than its length.
    service.control("next",
                    {{"path", "/status"}, {"rawStream", base64("abcdefgh")}, {"truncateAfterBytes", 5}});
    RawSocket streamed(service.port());
    const std::string cut = rawStatus(streamed);
    EXPECT_TRUE(cut.ends_with("\r\n\r\n5\r\nabcde\r\n")) << cut;
    EXPECT_TRUE(streamed.wasClosed());
    service.control("next", {{"path", "/status"}, {"truncateAfterBytes", 9}});
    RawSocket whole(service.port());
    EXPECT_TRUE(rawStatus(whole).ends_with("\r\n\r\n<!DOCTYPE"));
    EXPECT_TRUE(service.waitFor("/status", "finished", 2));
    EXPECT_EQ(service.lastRequest("/status")["outcome"], "truncated");

    service.control("next", Json::array({{{"path", "/status"}, {"drop", true}},
                                         {{"path", "/status"}, {"drop", "reset"}}}));
    RawSocket dropped(service.port());
    EXPECT_EQ(rawStatus(dropped), "");
    EXPECT_TRUE(dropped.wasClosed() && !dropped.wasReset());
    RawSocket reset(service.port());
    EXPECT_EQ(rawStatus(reset), "");
    EXPECT_TRUE(reset.wasReset());
    EXPECT_EQ(status()->status, 200);
}

TEST_F(ControlTest, CanDoTheWorkAndLoseTheReply) {
    const std::string refresh = service.signIn()["refresh_token"];
    service.control("next", {{"path", "/functions/v1/oauth/token"}, {"drop", true}, {"process", true}});
    const Form form = {{"grant_type", "refresh_token"},
                       {"refresh_token", refresh},
                       {"client_id", "dcr_5a1e7c0b93f24d68ae01b7c4d9f2e385"}};
    EXPECT_FALSE(postForm(*service.client(), "/functions/v1/oauth/token", form));
    EXPECT_EQ(postForm(*service.client(), "/functions/v1/oauth/token", form)->status, 400) << "rotated away";
}

TEST_F(ControlTest, HangsUntilTheClientLeaves) {
    service.control("next", {{"path", "/status"}, {"hang", true}});
    {
        RawSocket socket(service.port());
        socket.send("GET /status HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n");
        EXPECT_TRUE(service.waitFor("/status", "received"));
        EXPECT_EQ(service.lastRequest("/status")["state"], "received");
    }
    EXPECT_TRUE(service.waitFor("/status", "finished"));
    EXPECT_EQ(service.lastRequest("/status")["outcome"], "clientLeft");
}

TEST_F(ControlTest, HasNothingToHoldInAnEmptyBody) {
    service.control("next", {{"path", "/status"}, {"status", 200}, {"body", ""}});
    service.control("hold", {{"path", "/status"}, {"afterBytes", 1}});
    const auto reply = status();
    ASSERT_TRUE(reply) << "the reply does not end";
    EXPECT_EQ(reply->body, "");
    EXPECT_TRUE(service.waitFor("/status", "finished"));
}

TEST_F(ControlTest, LogsWhatCameIn) {
    service.control("reset", Json::object());
    postForm(*service.client(), "/functions/v1/oauth/token", codeForm("secret"));
    service.client()->Get("/status?x=1%202");
    const Json log = service.get("/control/requests");
    EXPECT_EQ(log["requests"][0]["form"]["code"], "secret");
    EXPECT_EQ(log["requests"][1]["query"]["x"], "1 2");
    service.control("reset", Json::object());
    EXPECT_TRUE(service.get("/control/requests")["requests"].empty());
}

TEST_F(ControlTest, SetsTheClock) {
    const auto userInfo = [&] {
        return service.client()->Get("/functions/v1/oauth/userinfo", headers)->status;
    };
    const std::int64_t real = service.control("clock", {{"real", true}})["nowMs"];
    EXPECT_GE(service.control("clock", {{"offsetMs", 3'500'000}})["nowMs"], real + 3'500'000);
    EXPECT_EQ(userInfo(), 200);
    service.control("clock", {{"offsetMs", 3'600'000}});
    EXPECT_EQ(userInfo(), 401) << "an hour has passed";
    EXPECT_EQ(service.control("clock", {{"nowMs", 5}})["nowMs"], 5);
    EXPECT_EQ(
        service.client()->Put("/api/folders", "{}", "application/json")->get_header_value("X-Teskal-Time"),
        "5");
}

TEST_F(ControlTest, RefusesWhatItDoesNotUnderstand) {
    const auto http = service.client();
    const std::pair<const char*, const char*> cases[] = {
        {"next", R"({"staus": 500})"},
        {"next", R"({"status": 99})"},
        {"next", R"({"rawStream": "*"})"},
        {"next", "[7]"},
        {"next", "{"},
        {"next", R"({"times": -1})"},
        {"hold", R"({"afterByte": 1})"},
        {"tokens", R"({"refreshTokens": "maybe"})"},
        {"consent", R"({"auto": true})"},
        {"release", R"({"id": "x"})"},
        {"next", R"({"headers":{"a":"b\r\nc"}})"},
        {"next", R"({"redirect": 7})"},
        {"hold", "[]"},
        {"clock", "{}"},
        {"clock", R"({"nowMs": "1"})"},
        {"clock", R"({"nowMs": 9000000000000000})"},
        {"clock", R"({"real": false})"},
        {"clock", R"({"real": true, "offsetMs": 1})"},
    };
    for (const auto& [what, body] : cases)
        EXPECT_EQ(http->Post(std::string("/control/") + what, body, "application/json")->status, 400)
            << what << body;
    EXPECT_EQ(http->Get("/control/wait?path=/never&timeoutMs=1")->status, 408);
    Options plain = RunningService::quick();
    plain.control = false;
    const RunningService closed(plain);
    EXPECT_EQ(closed.client()->Get("/control/requests")->status, 404) << "only with --control";
}
