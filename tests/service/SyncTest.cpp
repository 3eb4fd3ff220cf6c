#include "Account.h"

#include <gtest/gtest.h>

using namespace teskal::service;

namespace {

const std::string emptyDocument = R"({"folders":[],"assignments":[],"deleted":{}})";

std::string upload(const std::string& id, long updatedAt, const std::string& title = "T") {
    return Json{{"chat", {{"id", id}, {"title", title}, {"updatedAt", updatedAt}}}}.dump();
}

Json manyFolders(int count) {
    Json list = Json::array();
    for (int i = 0; i < count; ++i)
        list.push_back({{"id", "f" + std::to_string(i)},
                        {"name", "F"},
                        {"order", i},
                        {"createdAt", 1},
                        {"updatedAt", 1}});
    return {{"folders", list}};
}

Json manyAssignments(int count) {
    Json list = Json::array();
    for (int i = 0; i < count; ++i)
        list.push_back({{"chatId", "c" + std::to_string(i)}, {"updatedAt", 1}});
    return {{"assignments", list}};
}

} // namespace

TEST(Sync, TheNewerOfChangeAndDeletionWins) {
    const RunningService service;
    const Account account(service);
    const std::string newer = R"({"chat":{"id":"chat","title":"T","updatedAt":20}})";
    struct Step {
        const char* method;
        long time;
        std::string reply;
        long stored; ///< 0: gone
    };
    const Step steps[] = {
        {"PUT", 10, R"({"saved":true})", 10},       {"PUT", 10, R"({"saved":true})", 10},
        {"PUT", 20, R"({"saved":true})", 20},       {"PUT", 15, newer, 20},
        {"DELETE", 19, R"({"deleted":false})", 20}, {"DELETE", 20, R"({"deleted":true})", 0},
        {"PUT", 20, R"({"deleted":true})", 0},      {"DELETE", 30, R"({"deleted":true})", 0},
        {"DELETE", 25, R"({"deleted":true})", 0},   {"PUT", 29, R"({"deleted":true})", 0},
        {"PUT", 31, R"({"saved":true})", 31},       {"DELETE", 31, R"({"deleted":true})", 0},
    };
    for (const Step& step : steps) {
        SCOPED_TRACE(std::string(step.method) + " at " + std::to_string(step.time));
        const bool isPut = step.method == std::string("PUT");
        const auto reply = isPut
                               ? account.send("PUT", "/api/chats", upload("chat", step.time))
                               : account.send("DELETE", "/api/chats?id=chat&at=" + std::to_string(step.time));
        EXPECT_EQ(reply.status, 200);
        EXPECT_EQ(reply.json(), Json::parse(step.reply));
        const auto now = account.get("/api/chats?id=chat");
        EXPECT_EQ(now.status, step.stored ? 200 : 404);
        if (step.stored) {
            EXPECT_EQ(now.json()["chat"]["updatedAt"], step.stored);
        }
    }
    EXPECT_TRUE(account.send("DELETE", "/api/chats?id=never-seen&at=40").json()["deleted"]);
    account.send("PUT", "/api/chats", upload("other", 35, "Other"));
    EXPECT_EQ(account.get("/api/chats").json(), Json::parse(R"({"enabled":true,"chats":[
        {"id":"never-seen","title":"","updatedAt":40,"deleted":true},
        {"id":"other","title":"Other","updatedAt":35},
        {"id":"chat","title":"","updatedAt":31,"deleted":true}]})"));
}

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

TEST(Sync, FoldersAreMergedAndTheClockIsTold) {
    const RunningService service;
    service.control("clock", {{"nowMs", 1'800'000'000'000}});
    const Account account(service);
    const std::string first = R"({"createdAt":1,"id":"f1","name":"One","order":1,"updatedAt":5})";
    const std::string second = R"({"createdAt":1,"id":"f2","name":"Two","order":0.5,"updatedAt":5})";
    account.send("PUT", "/api/folders", R"({"folders":[)" + first + "]}");
    const auto merged = account.send("PUT", "/api/folders",
                                     R"({"folders":[)" + second + R"(],"deleted":{"f3":1800000000001}})");
    EXPECT_EQ(merged.body, R"({"document":{"folders":[)" + second + ',' + first +
                               R"(],"assignments":[],"deleted":{"f3":1800000000001}}})");
    EXPECT_EQ(merged.header("X-Teskal-Time"), "1800000000000");
    service.control("clock", {{"nowMs", 1'800'000'000'002 + 31'536'000'000}});
    EXPECT_EQ(account.send("PUT", "/api/folders", "{}").status, 401) << "a year later";
    EXPECT_EQ(account.send("PUT", "/api/folders", "{}").header("X-Teskal-Time"), "1831536000002");
    EXPECT_EQ(Account(service).call("PUT", "/api/folders", Json::object())["document"]["deleted"],
              Json::object());
    service.control("clock", {{"real", true}});
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
        EXPECT_NE(reply.header("X-Teskal-Time"), "");
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
        {"GET", "/api/chats?id=", ""},
        {"GET", "/api/chats?id=abc", ""},
        {"GET", "/api/chats?id=" + longId, ""},
        {"GET", "/api/chats?id=..%2Fx..", ""},
        {"GET", "/api/chats?id=abcd%00", ""},
        {"GET", "/api/chats?id=a'%20OR%201=1--", ""},
        {"DELETE", "/api/chats?id=chat", ""},
        {"DELETE", "/api/chats?at=5", ""},
        {"DELETE", "/api/chats?id=chat&at=1.5", ""},
        {"DELETE", "/api/chats?id=chat&at=-1", ""},
        {"DELETE", "/api/chats?id=chat&at=99999999999999999999", ""},
        {"DELETE", "/api/chats?id=chat&at=9999999999999999", ""},
        {"PATCH", "/api/chats", "{}", 405},
        {"PUT", "/api/chats", std::string(16 * 1024 * 1024 + 1, ' '), 413},
        {"PUT", "/api/folders", "{"},
        {"PUT", "/api/folders", "[]"},
        {"PUT", "/api/folders", ""},
        {"PUT", "/api/folders", "\xEF\xBB\xBF{}"},
        {"PUT", "/api/folders", R"({"folders":)" + deep + "}"},
        {"GET", "/api/files?id=../../x", ""},
        {"GET", "/api/files", ""},
        {"GET", "/api/files?id=nothing-here", "", 404},
        {"POST", "/api/files", std::string(32 * 1024 * 1024 + 1, 'x'), 413},
        {"GET", "/api/video", "", 404},
        {"GET", "/api/music?job=x'--", "", 404},
        {"POST", "/api/billing", R"({"credits":0})"},
        {"POST", "/api/billing", R"({"credits":1.5})"},
        {"POST", "/api/billing", R"({"credits":99999999999999999999})"},
        {"POST", "/api/billing", R"({"credits":5,"returnTo":"//elsewhere.example"})"},
        {"POST", "/api/keys", R"({"name":"  "})"},
        {"POST", "/api/keys", R"({"name":")" + std::string(201, 'x') + "\"}"},
        {"POST", "/api/keys", std::string(65 * 1024, ' '), 413},
        {"DELETE", "/api/keys", R"({"id":7})"},
        {"DELETE", "/api/keys", R"({"id":"nobody"})", 404},
        {"PUT", "/api/settings", R"({"anonymize":1})"},
        {"PUT", "/api/settings", R"({"disabledModels":["a",7]})"},
        {"POST", "/api/transcribe", ""},
        {"POST", "/api/speech", R"({"text":" "})"},
        {"GET", "/api/unfurl?url=ftp://example.org/", "", 404},
        {"GET", "/api/unfurl?url=https://", "", 404},
        {"GET", "/api/unfurl?url=https://ex%20ample/", "", 404},
        {"GET", "/api/unfurl", "", 404},
    };
    for (const std::string& body :
         {std::string(),
          std::string("{"),
          std::string("[]"),
          std::string("{}"),
          std::string(R"({"chat":null})"),
          "\xEF\xBB\xBF" + chat(""),
          std::string(R"({"chat":{"id":"chat"}})"),
          std::string(R"({"chat":{"updatedAt":1}})"),
          std::string(R"({"chat":{"id":"a/b/c","updatedAt":1}})"),
          std::string(R"({"chat":{"id":"chat","updatedAt":"1"}})"),
          std::string(R"({"chat":{"id":"chat","updatedAt":1e999}})"),
          std::string(R"({"chat":{"id":"chat","updatedAt":-1}})"),
          chat(R"(,"title":7)"),
          chat(R"(,"messages":{})"),
          chat(",\"title\":\"\xFF\""),
          chat(R"(,"x":)" + deep),
          message("7"),
          message(R"({"id":"m"})"),
          message(R"({"id":"m","role":"user","content":7})"),
          message(R"({"id":"m","role":"user","attachments":[{"name":"x"}]})"),
          message(R"({"id":"m","role":"user","attachments":[{"name":"x","mediaType":"a/b","fileId":7}]})"),
          message(R"({"id":"m","role":"user","media":{"status":"done"}})")})
        cases.push_back({"PUT", "/api/chats", body});
    for (const Case& c : cases) {
        SCOPED_TRACE(c.method + ' ' + c.path + ' ' + c.body.substr(0, 80));
        const auto reply = account.send(c.method, c.path, c.body);
        EXPECT_EQ(reply.status, c.status);
        EXPECT_TRUE(reply.json()["error"].is_string());
    }
    EXPECT_EQ(account.get("/api/chats").json()["chats"], Json::array()) << "nothing of it was stored";
}
