#include "Account.h"
#include "StateFile.h"
#include "storage/AccountTable.h"
#include "storage/SignInTable.h"

#include <gtest/gtest.h>

using namespace teskal::service;

namespace {

/// Everything that an account can see of its own.
const std::vector<std::string> views = {"/api/chats", "/api/billing", "/api/keys", "/api/settings",
                                        "/api/routes"};

/// What a full account leaves behind, by the addresses at which it is found.
std::vector<std::string> fill(const Account& account) {
    std::vector<std::string> made = views;
    account.send("PUT", "/api/chats", R"({"chat":{"id":"chat-1","title":"One","updatedAt":10}})");
    account.send("PUT", "/api/chats", R"({"chat":{"id":"chat-2","updatedAt":20}})");
    account.send("DELETE", "/api/chats?id=chat-2&at=20");
    account.send("PUT", "/api/folders",
                 R"({"folders":[{"id":"f","name":"F","order":0,"createdAt":1,"updatedAt":2}],
                     "assignments":[{"chatId":"chat-1","folderId":"f","updatedAt":2}],"deleted":{"g":9e12}})");
    const Json file = account.send("POST", "/api/files", std::string("\0\xFF\r\n", 4), "image/x; a=b").json();
    const Json song = account.ask("a song").json();
    account.call("POST", "/api/keys", {{"name", "K"}});
    account.call("PUT", "/api/settings", {{"anonymize", false}, {"disabledModels", {"sample/model-four"}}});
    made.push_back("/api/chats?id=chat-1");
    made.push_back("/api/files?id=" + file["id"].get<std::string>());
    made.push_back("/api/music?job=" + song["requestId"].get<std::string>());
    return made;
}

std::vector<std::string> look(const Account& account, const std::vector<std::string>& paths) {
    std::vector<std::string> seen;
    for (const std::string& path : paths) {
        const auto reply = account.get(path);
        seen.push_back(path + ' ' + std::to_string(reply.status) + ' ' + reply.header("Content-Type") + ' ' +
                       reply.body);
    }
    seen.push_back(account.send("PUT", "/api/folders", "{}").body);
    return seen;
}

} // namespace

TEST(Accounts, NobodySeesWhatIsAnothers) {
    const RunningService service;
    const Account ada(service, "ada@example.org");
    const Account ben(service, "ben@example.org");
    const auto fresh = look(ben, views);
    const auto made = fill(ada);
    EXPECT_EQ(look(ben, views), fresh);
    for (std::size_t i = views.size(); i < made.size(); ++i)
        EXPECT_EQ(ben.get(made[i]).status, 404) << made[i];
    const std::string key = ada.get("/api/keys").json()["keys"][0]["id"];
    EXPECT_EQ(ben.send("DELETE", "/api/keys", Json{{"id", key}}.dump()).status, 404);
    const auto before = look(ada, made);
    fill(ben);
    ben.send("DELETE", "/api/chats?id=chat-1&at=9000000000000");
    EXPECT_EQ(look(ada, made), before);
}

TEST(Accounts, NothingWorksWithoutAToken) {
    const RunningService service;
    const Account nobody(service, httplib::Headers{{"Authorization", "Bearer tkl_sk_nothing"}});
    for (const char* route :
         {"GET /api/chats",       "PUT /api/chats",    "DELETE /api/chats", "PUT /api/folders",
          "POST /api/files",      "GET /api/files",    "GET /api/video",    "GET /api/music",
          "GET /api/billing",     "POST /api/billing", "GET /api/keys",     "POST /api/keys",
          "DELETE /api/keys",     "GET /api/routes",   "GET /api/settings", "PUT /api/settings",
          "POST /api/transcribe", "POST /api/speech",  "GET /api/unfurl",   "POST /api/unfurl",
          "POST /api/chat"}) {
        const std::string text = route;
        const auto space = text.find(' ');
        const std::string body = text.starts_with("P") ? "{}" : "";
        EXPECT_EQ(nobody.send(text.substr(0, space), text.substr(space + 1), body).status, 401) << route;
    }
}

TEST(Accounts, EverythingIsThereAfterARestart) {
    const StateFile file;
    Options options = RunningService::quick();
    options.stateFile = file.path();
    httplib::Headers headers;
    std::vector<std::string> made;
    std::vector<std::string> before;
    std::string refresh;
    std::string checkout;
    {
        const RunningService service(options);
        const Account account(service);
        headers = account.headers();
        refresh = service.signIn()["refresh_token"];
        made = fill(account);
        const std::string url = account.call("POST", "/api/billing", {{"credits", 7}})["url"];
        checkout = url.substr(url.find('?') + 1);
        before = look(account, made);
    }
    EXPECT_EQ(file.mode(), 0600u);
    const RunningService service(options);
    const Account account(service, headers);
    EXPECT_EQ(look(account, made), before);
    const auto http = service.client();
    EXPECT_EQ(http->Post("/checkout", checkout, "application/x-www-form-urlencoded")->status, 200);
    EXPECT_EQ(account.get("/api/billing").json()["balance"], 2506);
    const Form form = {{"grant_type", "refresh_token"},
                       {"refresh_token", refresh},
                       {"client_id", "dcr_5a1e7c0b93f24d68ae01b7c4d9f2e385"}};
    EXPECT_EQ(postForm(*http, "/functions/v1/oauth/token", form)->status, 200);
    EXPECT_EQ(postForm(*http, "/functions/v1/oauth/token", form)->status, 400) << "it was rotated";
    const std::string token = headers.find("Authorization")->second.substr(7);
    for (const std::string& secret : {token, refresh})
        EXPECT_EQ(file.bytes().find(secret), std::string::npos) << "only hashes are kept";
}

TEST(Accounts, CreditsRunOutAndCanBeBought) {
    const StateFile file;
    Options options = RunningService::quick();
    options.stateFile = file.path();
    {
        Database database(file.path());
        EXPECT_TRUE(AccountTable(database).charge(Profile::of("", "ada@example.org").sub, 2498));
    }
    const RunningService service(options);
    const Account account(service);
    const auto balance = [&] { return account.get("/api/billing?fresh").json()["balance"]; };
    EXPECT_EQ(account.ask("error busy").status, 503);
    EXPECT_EQ(balance(), 2) << "a failure costs nothing";
    EXPECT_EQ(account.ask("hello").status, 200);
    EXPECT_EQ(account.ask("write to ben@example.org").status, 200);
    EXPECT_EQ(balance(), 0) << "anonymising costs more, but never more than there is";
    const auto refused = account.ask("hello");
    EXPECT_EQ(refused.status, 402);
    EXPECT_EQ(refused.json()["code"], "INSUFFICIENT_CREDITS");

    const std::string url =
        account.call("POST", "/api/billing", {{"credits", 300}, {"returnTo", "/chat"}})["url"];
    const std::string origin = "http://127.0.0.1:" + std::to_string(service.port());
    ASSERT_TRUE(url.starts_with(origin + "/checkout?session=")) << url;
    const auto browser = service.client();
    const auto page = browser->Get(url.substr(origin.size()));
    EXPECT_NE(page->body.find("300 credits"), std::string::npos);
    EXPECT_EQ(balance(), 0) << "looking buys nothing";
    const auto pay = [&] {
        return browser->Post("/checkout", url.substr(url.find('?') + 1), "application/x-www-form-urlencoded")
            ->status;
    };
    EXPECT_EQ(pay(), 200);
    EXPECT_EQ(pay(), 404) << "a purchase happens once";
    EXPECT_EQ(balance(), 300);
    EXPECT_EQ(browser->Get("/checkout?session=guess")->status, 404);
}

TEST(Accounts, JobsEndInTheirTime) {
    const RunningService service;
    service.control("clock", {{"nowMs", 1'800'000'000'000}});
    const Account account(service);
    struct Case {
        const char *text, *kind, *type, *begins;
    };
    const Case cases[] = {{"a song", "music", "audio/wav", "RIFF"},
                          {"a video", "video", "video/webm", "\x1A\x45\xDF\xA3"},
                          {"a broken song", "music", nullptr, nullptr},
                          {"one broken video", "video", nullptr, nullptr}};
    std::vector<std::string> jobs;
    for (const Case& c : cases) {
        const std::string job = account.ask(c.text).json()["requestId"];
        jobs.push_back(std::string("/api/") + c.kind + "?job=" + job);
    }
    service.control("clock", {{"nowMs", 1'800'000'007'999}});
    for (const std::string& job : jobs)
        EXPECT_EQ(account.get(job).json(), Json({{"status", "pending"}}));
    service.control("clock", {{"nowMs", 1'800'000'008'000}});
    for (std::size_t i = 0; i < jobs.size(); ++i) {
        SCOPED_TRACE(cases[i].text);
        const Json ended = account.get(jobs[i]).json();
        EXPECT_EQ(account.get(jobs[i]).json(), ended) << "there is one result";
        if (!cases[i].type) {
            EXPECT_EQ(ended["status"], "error");
            EXPECT_FALSE(ended["message"].get<std::string>().empty());
            continue;
        }
        EXPECT_EQ(ended["status"], "done");
        EXPECT_EQ(ended["mediaType"], cases[i].type);
        EXPECT_EQ(ended.contains("lyrics"), cases[i].kind == std::string("music"));
        const auto file = account.get("/api/files?id=" + ended["fileId"].get<std::string>());
        EXPECT_EQ(file.header("Content-Type"), cases[i].type);
        EXPECT_TRUE(file.body.starts_with(cases[i].begins));
    }
    const Json picture = account.ask("draw a hill").json();
    EXPECT_TRUE(
        account.get("/api/files?id=" + picture["fileId"].get<std::string>()).body.starts_with("\x89PNG"));
}

TEST(Accounts, KeysSpeakForTheirAccountAtTheChatAlone) {
    const RunningService service;
    const Account account(service);
    const Json made = account.call("POST", "/api/keys", {{"name", " Scripts "}});
    const std::string secret = made["secret"];
    const Account script(service, httplib::Headers{{"Authorization", "Bearer " + secret}});
    EXPECT_FALSE(account.get("/api/keys").json()["keys"][0].contains("lastUsedAt"));
    EXPECT_EQ(script.ask("hello").status, 200);
    EXPECT_EQ(script.get("/api/keys").status, 401);
    const Json listed = account.get("/api/keys").json()["keys"][0];
    EXPECT_EQ(listed["name"], "Scripts");
    EXPECT_TRUE(secret.starts_with("tkl_sk_"));
    EXPECT_TRUE(secret.starts_with(listed["prefix"].get<std::string>()) &&
                listed["prefix"].size() < secret.size());
    EXPECT_TRUE(listed["lastUsedAt"].is_number());
    EXPECT_EQ(account.get("/api/keys").body.find(secret), std::string::npos);
    EXPECT_EQ(account.send("DELETE", "/api/keys", Json{{"id", made["id"]}}.dump()).status, 200);
    EXPECT_TRUE(account.get("/api/keys").json()["keys"][0]["revokedAt"].is_number());
    EXPECT_EQ(script.ask("hello").status, 401);
}

TEST(Accounts, SpeechIsBoundedAndAnonymisingCanBeOff) {
    const RunningService service;
    const Account account(service);
    std::string book;
    for (int i = 0; i < 10'000; ++i)
        book += "word ";
    EXPECT_LE(account.send("POST", "/api/speech", Json{{"text", book}}.dump()).body.size(),
              44u + 30 * 2 * 16'000)
        << "at most 30 seconds";
    account.call("PUT", "/api/settings", {{"anonymize", false}});
    EXPECT_EQ(account.ask("write to ben@example.org").header("X-Teskal-Anonymized"), "");
    EXPECT_EQ(account.get("/api/unfurl?url=http://u:p@host:80").json()["site"], "host:80") << "no password";
}
