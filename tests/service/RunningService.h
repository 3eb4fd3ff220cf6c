#pragma once

#include "Forms.h"
#include "HttpServer.h"
#include "Latch.h"
#include "Options.h"
#include "SafeJson.h"
#include "Service.h"

#include <gtest/gtest.h>
#include <httplib.h>
#include <memory>
#include <string>
#include <thread>

namespace teskal::service {

/// The query of a proper authorization request, with the challenge of RFC 7636 appendix B.
inline Form authorizeQuery() {
    return *parseForm(
        "response_type=code&client_id=dcr_5a1e7c0b93f24d68ae01b7c4d9f2e385&nonce=a-nonce&state=a-state&"
        "redirect_uri=app.teskal.mac://callback&scope=openid+profile+email&code_challenge_method=S256&"
        "code_challenge=E9Melhoa2OwvFrEMTJguCHaoeK1t8URWbuGJSstw-cM");
}
/// The form that redeems a code made for it.
inline Form codeForm(const std::string& code) {
    Form form = *parseForm("grant_type=authorization_code&client_id=dcr_5a1e7c0b93f24d68ae01b7c4d9f2e385&"
                           "redirect_uri=app.teskal.mac://callback&"
                           "code_verifier=dBjftJeZ4CVP-mB92K27uhbUJU1p1r_wW1gFWFOEjXk");
    form["code"] = code;
    return form;
}
/// Posts a form, strictly percent-encoded.
inline httplib::Result postForm(httplib::Client& client, const std::string& path, const Form& form) {
    return client.Post(path, formText(form), "application/x-www-form-urlencoded");
}
/// The query of the Location header.
inline Form locationQuery(const httplib::Result& reply) {
    const std::string location = reply ? reply->get_header_value("Location") : "";
    return parseForm(location.substr(std::min(location.find('?') + 1, location.size()))).value_or(Form{});
}
/// The body of a chat request with one question.
inline std::string question(const std::string& text) {
    return Json{{"messages", {{{"role", "user"}, {"content", text}}}}}.dump();
}

/// The service, running in this process on a free port for the life of the object. Answers come without
/// pauses and sign-in without a page.
class RunningService {
public:
    explicit RunningService(const Options& options = quick())
        : service_(options, stop_), server_(service_, stop_), port_(server_.bind(0).value()),
          thread_([this] { server_.serve(); }) {}
    ~RunningService() {
        stop_.open();
        server_.shutDown();
        thread_.join();
    }

    static Options quick() {
        Options options;
        options.autoConsent = true;
        options.control = true;
        options.chunkDelay = std::chrono::milliseconds(0);
        return options;
    }

    int port() const { return port_; }
    /// A client with short time-outs; one per thread.
    std::unique_ptr<httplib::Client> client() const {
        auto client = std::make_unique<httplib::Client>("127.0.0.1", port_);
        client->set_read_timeout(10);
        return client;
    }

    /// Posts to /control/<what> and fails the test when it is not accepted.
    Json control(const std::string& what, const Json& body) const {
        const auto reply = client()->Post("/control/" + what, body.dump(), "application/json");
        EXPECT_TRUE(reply && reply->status == 200) << what << ": " << (reply ? reply->body : "no reply");
        return reply ? Json::parse(reply->body) : Json();
    }
    Json get(const std::string& path) const {
        const auto reply = client()->Get(path);
        return reply ? Json::parse(reply->body) : Json();
    }
    /// Waits until `count` requests below `path` have come as far as `state`.
    bool waitFor(const std::string& path, const std::string& state, int count = 1) const {
        const auto reply = client()->Get("/control/wait?path=" + path + "&state=" + state +
                                         "&count=" + std::to_string(count));
        return reply && reply->status == 200;
    }

    /// Signs in through the page, which consents by itself, and gives the token reply.
    Json signIn() const {
        const auto http = client();
        const auto redirect = http->Get("/oauth/authorize?" + formText(authorizeQuery()));
        const std::string code = formValue(locationQuery(redirect), "code");
        const auto reply = postForm(*http, "/functions/v1/oauth/token", codeForm(code));
        EXPECT_TRUE(reply && reply->status == 200);
        return reply ? Json::parse(reply->body) : Json();
    }
    /// The headers of a chat request with a fresh token.
    httplib::Headers bearer() const {
        return {{"Authorization", "Bearer " + signIn()["access_token"].get<std::string>()},
                {"X-Teskal-Events", "1"}};
    }

private:
    const Latch stop_;
    Service service_;
    HttpServer server_;
    int port_;
    std::thread thread_;
};

/// Someone who is signed in and calls the service over one connection.
class Account {
public:
    explicit Account(const RunningService& service, const std::string& email = "ada@example.org")
        : Account(service, signedIn(service, email)) {}
    /// Calls `service` with headers that another account was given.
    Account(const RunningService& service, httplib::Headers headers)
        : client_(service.client()), headers_(std::move(headers)) {
        client_->set_keep_alive(true);
        client_->set_tcp_nodelay(true);
    }

    struct Reply : httplib::Response {
        Json json() const {
            const Json json = Json::parse(body, nullptr, false);
            return json.is_discarded() ? Json("not JSON: " + body.substr(0, 200)) : json;
        }
    };
    Reply send(const std::string& method, const std::string& path, const std::string& body = {},
               const std::string& type = "application/json") const {
        httplib::Request request;
        request.method = method;
        request.path = path;
        request.headers = headers_;
        request.body = body;
        if (!body.empty())
            request.set_header("Content-Type", type);
        const auto result = client_->send(request);
        return result ? Reply{*result} : Reply{};
    }
    Reply get(const std::string& path) const { return send("GET", path); }
    /// Sends JSON and gives what came back as JSON.
    Json call(const std::string& method, const std::string& path, const Json& body) const {
        return send(method, path, body.dump()).json();
    }
    Reply ask(const std::string& text) const { return send("POST", "/api/chat", question(text)); }

    const httplib::Headers& headers() const { return headers_; }

private:
    static httplib::Headers signedIn(const RunningService& service, const std::string& email) {
        service.control("consent", {{"automatic", true}, {"email", email}});
        return service.bearer();
    }

    std::unique_ptr<httplib::Client> client_;
    httplib::Headers headers_;
};

} // namespace teskal::service
