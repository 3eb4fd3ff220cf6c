#pragma once

#include "RunningService.h"

/// Someone who is signed in and calls the service over one connection.
class Account {
public:
    explicit Account(const RunningService& service, const std::string& email = "ada@example.org");
    /// Calls `service` with headers that another account was given.
    Account(const RunningService& service, httplib::Headers headers);

    struct Reply : httplib::Response {
        teskal::service::Json json() const;
    };
    Reply send(const std::string& method, const std::string& path, const std::string& body = {},
               const std::string& type = "application/json") const;
    Reply get(const std::string& path) const { return send("GET", path); }
    /// Sends JSON and gives what came back as JSON.
    teskal::service::Json call(const std::string& method, const std::string& path,
                               const teskal::service::Json& body) const;
    Reply ask(const std::string& text) const { return send("POST", "/api/chat", question(text)); }

    const httplib::Headers& headers() const { return headers_; }

private:
    std::unique_ptr<httplib::Client> client_;
    httplib::Headers headers_;
};
