#include "Encoding.h"
#include "RunningService.h"
#include "StreamReader.h"

#include <gtest/gtest.h>

using namespace teskal::service;

namespace {

httplib::Result ask(const RunningService& service, const std::string& text, httplib::Headers headers) {
    return service.client()->Post("/api/chat", headers, question(text), "application/json");
}

} // namespace

TEST(Chat, AStreamCarriesRouteActivityAndText) {
    const RunningService service;
    const httplib::Headers headers = service.bearer();
    const auto reply = ask(service, "Plan a weekend in Trieste", headers);
    ASSERT_TRUE(reply && reply->status == 200);
    EXPECT_EQ(reply->get_header_value("Content-Type"), "text/plain; charset=utf-8");
    EXPECT_EQ(reply->get_header_value("X-Teskal-Model-Name"), "Model Four");
    EXPECT_EQ(reply->get_header_value("X-Teskal-Web"), "1");
    EXPECT_EQ(percentDecode(reply->get_header_value("X-Teskal-Title")), "Weekend in Trieste, by train");
    EXPECT_EQ(Json::parse(*percentDecode(reply->get_header_value("X-Teskal-Route")))["task"], "research");
    EXPECT_FALSE(reply->has_header("X-Teskal-Anonymized"));

    const StreamReader stream(reply->body);
    EXPECT_NE(stream.text.find("### Sunday, with rain"), std::string::npos);
    std::string types;
    Json steps;
    std::vector<Json> phases;
    for (const Json& event : stream.events) {
        types += event["type"].get<std::string>().substr(0, 2) + " ";
        steps = event.value("steps", steps);
        if (event.contains("phase"))
            phases.push_back(event["phase"]);
    }
    EXPECT_EQ(types, "ph pl ph ph se ph ph se ph ph ");
    for (std::size_t i = 0; i < 3; ++i)
        EXPECT_EQ(phases.at(2 * i + 1), steps.at(i)) << "each step becomes the phase in turn";

    httplib::Headers quiet = headers;
    quiet.erase("X-Teskal-Events");
    EXPECT_EQ(ask(service, "Plan a weekend in Trieste", quiet)->body, stream.text);
}

TEST(Chat, OnlyTheFirstExchangeIsNamed) {
    const RunningService service;
    const Json body = {{"messages",
                        {{{"role", "user"}, {"content", "Hello"}},
                         {{"role", "assistant"}, {"content", "Hi"}},
                         {{"role", "user"}, {"content", "Write to a@example.org"}}}}};
    const auto reply = service.client()->Post("/api/chat", service.bearer(), body.dump(), "application/json");
    EXPECT_FALSE(reply->has_header("X-Teskal-Title"));
    EXPECT_EQ(reply->get_header_value("X-Teskal-Anonymized"), "1");
}

TEST(Chat, MalformedRequestsAreExplained) {
    const RunningService service;
    const httplib::Headers headers = service.bearer();
    const std::string deep = R"({"messages":)" + std::string(10'000, '[') + std::string(10'000, ']') + "}";
    const std::vector<std::string> bodies = {
        "",
        "{",
        "[]",
        "null",
        R"({"messages":{}})",
        R"({"messages":[]})",
        R"({"messages":["x"]})",
        R"({"messages":[{"role":"user"}]})",
        R"({"messages":[{"role":"robot","content":"x"}]})",
        R"({"messages":[{"role":"assistant","content":"x"}]})",
        R"({"messages":[{"role":"user","content":7}]})",
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
