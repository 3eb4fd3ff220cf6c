#include "RunningService.h"

using namespace teskal::service;

namespace {

Json manyFolders(int count) {
    const Json folder = Json::parse(R"({"name":"F","order":0,"createdAt":1,"updatedAt":1})");
    Json list(static_cast<std::size_t>(count), folder);
    for (int i = 0; i < count; ++i)
        list[static_cast<std::size_t>(i)]["id"] = "f" + std::to_string(i);
    return {{"folders", list}};
}

Json manyAssignments(int count) {
    Json list = Json::array();
    for (int i = 0; i < count; ++i)
        list.push_back({{"chatId", "c" + std::to_string(i)}, {"updatedAt", 1}});
    return {{"assignments", list}};
}

} // namespace

TEST(Sync, AChatIsKeptAsItWasSent) {
    const RunningService service;
    const Account account(service);
    const std::string chat =
        "{ \"updatedAt\" : 1.7e12, \"id\":\"ab-_\",\"new\":{\"b\":[1, {\"}\":\"\\\"]\"}],\"a\":2},"
        "\n\"messages\":[{\"id\":\"m\",\"role\":\"user\",\"route\":null,\"content\":\"\\u00e4\xC3\xA4\"}]}";
    EXPECT_EQ(account.send("PUT", "/api/chats", "{\"x\":\"chat\", \"chat\" :" + chat + " }").status, 200);
    EXPECT_EQ(account.get("/api/chats?id=ab-_").body, "{\"chat\":" + chat + "}");
    EXPECT_EQ(account.get("/api/chats").json()["chats"][0],
              Json::parse(R"({"id":"ab-_","title":"","updatedAt":1700000000000})"));
}

TEST(Sync, TooManyFoldersAreRefusedAndChangeNothing) {
    const RunningService service;
    const Account account(service);
    EXPECT_EQ(account.send("PUT", "/api/folders", manyFolders(200).dump()).status, 200);
    const Json before = account.call("PUT", "/api/folders", Json::object())["document"];
    Json other = manyFolders(1);
    other["folders"][0]["id"] = "another";
    std::string large(8 * 1024 * 1024, ' ');
    large += "{}";
    for (const std::string& body : {other.dump(), manyAssignments(50'001).dump(), large}) {
        const auto reply = account.send("PUT", "/api/folders", body);
        EXPECT_EQ(reply.status, 413);
        EXPECT_FALSE(reply.json()["error"].get<std::string>().empty());
        EXPECT_EQ(reply.json()["document"], before);
        EXPECT_NE(reply.get_header_value("X-Teskal-Time"), "");
    }
    other["deleted"] = {{"f7", 5e12}};
    EXPECT_EQ(account.send("PUT", "/api/folders", other.dump()).status, 200) << "one went, one came";
    EXPECT_EQ(account.send("PUT", "/api/folders", manyAssignments(50'000).dump()).status, 200);
}

TEST(Sync, WhatMakesNoSenseIsRefused) {
    const RunningService service;
    const Account account(service);
    const auto chat = [](const std::string& members) {
        return R"({"chat":{"id":"chat","updatedAt":1)" + members + "}}";
    };
    const auto message = [&](const std::string& json) { return chat(R"(,"messages":[)" + json + "]"); };
    const std::string deep = std::string(10'000, '[') + std::string(10'000, ']');
    const std::string longId(65, 'a');
    struct Case {
        std::string method, path, body;
        int status = 400;
    };
    std::vector<Case> cases = {
        {"PATCH", "/api/chats", "{}", 405},
        {"PUT", "/api/chats", std::string(16 * 1024 * 1024 + 1, ' '), 413},
        {"PUT", "/api/folders", "["},
        {"PUT", "/api/folders", R"({"folders":)" + deep + "}"},
        {"GET", "/api/files?id=nothing-here", "", 404},
        {"POST", "/api/files", std::string(32 * 1024 * 1024 + 1, 'x'), 413},
        {"GET", "/api/music?job=x'--", "", 404},
        {"POST", "/api/billing", R"({"credits":1.5})"},
        {"POST", "/api/billing", R"({"credits":5,"returnTo":"//elsewhere.example"})"},
        {"POST", "/api/keys", R"({"name":"  "})"},
        {"POST", "/api/keys", std::string(65 * 1024, ' '), 413},
        {"DELETE", "/api/keys", R"({"id":"nobody"})", 404},
        {"PUT", "/api/settings", R"({"disabledModels":["a",7]})"},
        {"POST", "/api/transcribe", ""},
        {"POST", "/api/speech", R"({"text":" "})"},
        {"GET", "/api/unfurl?url=ftp://example.org/", "", 404},
    };
    for (const char* path : {"/api/chats?id=", "/api/files?id="})
        for (const char* id : {"", "abc", longId.c_str(), "..%2Fx..", "abcd%00", "a'%20OR%201=1--"})
            cases.push_back({"GET", std::string(path) + id, ""});
    for (const char* at : {"", "&at=1.5", "&at=-1", "&at=99999999999999999999", "&at=9999999999999999"})
        cases.push_back({"DELETE", std::string("/api/chats?id=chat") + at, ""});
    for (const std::string& body :
         {std::string(), std::string("[]"), std::string(R"({"chat":null})"), "\xEF\xBB\xBF" + chat(""),
          std::string(R"({"chat":{"id":"chat"}})"), std::string(R"({"chat":{"id":"a/b/c","updatedAt":1}})"),
          std::string(R"({"chat":{"id":"chat","updatedAt":1e999}})"), chat(R"(,"title":7)"),
          chat(",\"title\":\"\xFF\""), chat(R"(,"x":)" + deep), message("7"),
          message(R"({"id":"m","role":"user","content":7})"),
          message(R"({"id":"m","role":"user","attachments":[{"name":"x"}]})"),
          message(R"({"id":"m","role":"user","media":{"status":"done"}})")})
        cases.push_back({"PUT", "/api/chats", body});
    const auto asked = [](const std::string& json) { return R"({"messages":[)" + json + "]}"; };
    for (const std::string& body :
         {std::string(), std::string("[]"), asked(""), asked(R"({"role":"user"})"),
          asked(R"({"role":"robot","content":"x"})"), asked(R"({"role":"assistant","content":"x"})"),
          asked(R"({"role":"user","content":"x","attachments":{}})"),
          asked(R"({"role":"user","content":"x","attachments":[{"mediaType":"image/png"}]})"),
          asked(R"({"role":"user","content":"x","attachments":[{"mediaType":"a/b","dataUrl":"http:"}]})"),
          asked("{\"role\":\"user\",\"content\":\"\xFF\"}"), R"({"messages":)" + deep + "}"})
        cases.push_back({"POST", "/api/chat", body});
    for (const Case& c : cases) {
        SCOPED_TRACE(c.method + ' ' + c.path + ' ' + c.body.substr(0, 80));
        const auto reply = account.send(c.method, c.path, c.body);
        EXPECT_EQ(reply.status, c.status);
        EXPECT_TRUE(reply.json()["error"].is_string());
    }
    EXPECT_EQ(account.get("/api/chats").json()["chats"], Json::array()) << "nothing of it was stored";
}
