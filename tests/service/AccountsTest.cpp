#include "RunningService.h"
#include "StateFile.h"

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
        seen.push_back(path + ' ' + std::to_string(reply.status) + ' ' +
                       reply.get_header_value("Content-Type") + ' ' + reply.body);
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
