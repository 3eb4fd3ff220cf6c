#include "RunningService.h"

#include <gtest/gtest.h>

using namespace teskal::service;

RunningService::RunningService(const Options& options)
    : service_(options, stop_), server_(service_, stop_), port_(server_.bind(0).value()),
      thread_([this] { server_.serve(); }) {}

RunningService::~RunningService() {
    stop_.open();
    server_.shutDown();
    thread_.join();
}

Options RunningService::quick() {
    Options options;
    options.autoConsent = true;
    options.control = true;
    options.chunkDelay = std::chrono::milliseconds(0);
    return options;
}

std::unique_ptr<httplib::Client> RunningService::client() const {
    auto client = std::make_unique<httplib::Client>("127.0.0.1", port_);
    client->set_read_timeout(10);
    return client;
}

Json RunningService::control(const std::string& what, const Json& body) const {
    const auto reply = client()->Post("/control/" + what, body.dump(), "application/json");
    EXPECT_TRUE(reply && reply->status == 200) << what << ": " << (reply ? reply->body : "no reply");
    return reply ? Json::parse(reply->body) : Json();
}

Json RunningService::get(const std::string& path) const {
    const auto reply = client()->Get(path);
    return reply ? Json::parse(reply->body) : Json();
}

bool RunningService::waitFor(const std::string& path, const std::string& state, int count) const {
    const auto reply =
        client()->Get("/control/wait?path=" + path + "&state=" + state + "&count=" + std::to_string(count));
    return reply && reply->status == 200;
}

Json RunningService::signIn() const {
    const auto http = client();
    const auto redirect = http->Get("/oauth/authorize?" + formText(authorizeQuery()));
    const auto reply =
        postForm(*http, "/functions/v1/oauth/token", codeForm(formValue(locationQuery(redirect), "code")));
    EXPECT_TRUE(reply && reply->status == 200);
    return reply ? Json::parse(reply->body) : Json();
}

httplib::Headers RunningService::bearer() const {
    return {{"Authorization", "Bearer " + signIn()["access_token"].get<std::string>()},
            {"X-Teskal-Events", "1"}};
}

Form authorizeQuery() {
    return {{"response_type", "code"},
            {"client_id", "dcr_5a1e7c0b93f24d68ae01b7c4d9f2e385"},
            {"redirect_uri", "app.teskal.mac://callback"},
            {"scope", "openid profile email"},
            {"state", "a-state"},
            {"nonce", "a-nonce"},
            {"code_challenge", "E9Melhoa2OwvFrEMTJguCHaoeK1t8URWbuGJSstw-cM"},
            {"code_challenge_method", "S256"}};
}

Form codeForm(const std::string& code) {
    return {{"grant_type", "authorization_code"},
            {"code", code},
            {"client_id", "dcr_5a1e7c0b93f24d68ae01b7c4d9f2e385"},
            {"redirect_uri", "app.teskal.mac://callback"},
            {"code_verifier", "dBjftJeZ4CVP-mB92K27uhbUJU1p1r_wW1gFWFOEjXk"}};
}

httplib::Result postForm(httplib::Client& client, const std::string& path, const Form& form) {
    return client.Post(path, formText(form), "application/x-www-form-urlencoded");
}

Form locationQuery(const httplib::Result& reply) {
    const std::string location = reply ? reply->get_header_value("Location") : "";
    const auto form = parseForm(location.substr(std::min(location.find('?') + 1, location.size())));
    return form.value_or(Form{});
}

std::string question(const std::string& text) {
    return Json{{"messages", {{{"role", "user"}, {"content", text}}}}}.dump();
}
