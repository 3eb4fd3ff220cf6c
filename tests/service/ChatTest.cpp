#include "RunningService.h"
#include "StreamReader.h"

#include <gtest/gtest.h>

using namespace teskal::service;

namespace {

httplib::Result ask(const RunningService& service, const std::string& text, httplib::Headers headers) {
    return service.client()->Post("/api/chat", headers, question(text), "application/json");
}

} // namespace

TEST(Chat, MalformedRequestsAreExplained) {
    const RunningService service;
    const httplib::Headers headers = service.bearer();
    const std::string deep = R"({"messages":)" + std::string(10'000, '[') + std::string(10'000, ']') + "}";
    const std::vector<std::string> bodies = {
        "",
        "[]",
        R"({"messages":[]})",
        R"({"messages":[{"role":"user"}]})",
        R"({"messages":[{"role":"robot","content":"x"}]})",
        R"({"messages":[{"role":"assistant","content":"x"}]})",
        R"({"messages":[{"role":"user","content":"x","attachments":{}}]})",
        R"({"messages":[{"role":"user","content":"x","attachments":[{"mediaType":"image/png"}]}]})",
        R"({"messages":[{"role":"user","content":"x","attachments":[{"mediaType":"a/b","dataUrl":"http:"}]}]})",
        "{\"messages\":[{\"role\":\"user\",\"content\":\"\xFF\"}]}",
        deep,
    };
    const auto http = service.client();
    for (const std::string& body : bodies) {
        const auto reply = http->Post("/api/chat", headers, body, "application/json");
        ASSERT_TRUE(reply) << body.substr(0, 80);
        EXPECT_EQ(reply->status, 400) << body.substr(0, 80);
        EXPECT_TRUE(Json::parse(reply->body)["error"].is_string());
    }
}

TEST(Chat, EightAnswersLeaveRoomForMore) {
    const RunningService service;
    const httplib::Headers headers = service.bearer();
    service.control("hold", {{"path", "/api/chat"}, {"afterBytes", 10}});
    std::vector<std::thread> readers;
    std::array<std::string, 8> texts;
    for (std::string& text : texts)
        readers.emplace_back([&] { text = StreamReader(ask(service, "table", headers)->body).text; });
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
