#include "RunningService.h"
#include "StreamReader.h"

#include <map>

using namespace teskal::service;

namespace {

/// What the client's tests do not see of the control interface that they steer the service by.
class ControlTest : public testing::Test {
protected:
    httplib::Result status() { return service.client()->Get("/status"); }
    httplib::Result ask(const std::string& text) {
        return service.client()->Post("/api/chat", headers, question(text), "application/json");
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

TEST_F(ControlTest, HasNothingToHoldInAnEmptyBody) {
    service.control("next", {{"path", "/status"}, {"status", 200}, {"body", ""}});
    service.control("hold", {{"path", "/status"}, {"afterBytes", 1}});
    const auto reply = status();
    ASSERT_TRUE(reply) << "the reply does not end";
    EXPECT_EQ(reply->body, "");
    EXPECT_TRUE(service.waitFor("/status", "finished"));
}

TEST_F(ControlTest, EightHeldAnswersLeaveRoomForMore) {
    service.control("hold", {{"path", "/api/chat"}, {"afterBytes", 10}});
    std::vector<std::thread> readers;
    std::array<std::string, 8> texts;
    for (std::string& text : texts)
        readers.emplace_back([&] { text = StreamReader(ask("table")->body).text; });
    EXPECT_TRUE(service.waitFor("/api/chat", "held", 8));
    EXPECT_EQ(service.client()->Get("/functions/v1/oauth/userinfo", headers)->status, 200);
    EXPECT_EQ(service.get("/control/state")["held"], 8);
    service.control("release", Json::object());
    for (std::thread& reader : readers)
        reader.join();
    for (const std::string& text : texts) {
        EXPECT_EQ(text, texts[0]);
        EXPECT_NE(text.find("Granite"), std::string::npos);
    }
}

TEST_F(ControlTest, RefusesWhatItDoesNotUnderstand) {
    const auto http = service.client();
    const std::map<std::string, std::vector<const char*>> commands = {
        {"next",
         {R"({"staus": 500})", R"({"rawStream": "*"})", "[7]", R"({"times": -1})",
          R"({"headers":{"a":"b\r\nc"}})"}},
        {"hold", {R"({"afterByte": 1})"}},
        {"tokens", {R"({"refreshTokens": "maybe"})"}},
        {"consent", {R"({"auto": true})"}},
        {"clock", {"{}", R"({"nowMs": 9000000000000000})", R"({"real": true, "offsetMs": 1})"}}};
    for (const auto& [what, bodies] : commands)
        for (const char* body : bodies)
            EXPECT_EQ(http->Post("/control/" + what, body, "application/json")->status, 400) << what << body;
    EXPECT_EQ(http->Get("/control/wait?path=/never&timeoutMs=1")->status, 408);
    Options plain = RunningService::quick();
    plain.control = false;
    const RunningService closed(plain);
    EXPECT_EQ(closed.client()->Get("/control/requests")->status, 404) << "only with --control";
}
