#pragma once

#include "HttpServer.h"
#include "Latch.h"
#include "Options.h"
#include "SafeJson.h"
#include "Service.h"

#include <httplib.h>
#include <memory>
#include <string>
#include <thread>

/// The service, running in this process on a free port for the life of the object. Answers come without
/// pauses and sign-in without a page.
class RunningService {
public:
    explicit RunningService(const teskal::service::Options& options = quick());
    ~RunningService();

    static teskal::service::Options quick();

    int port() const { return port_; }
    /// A client with short time-outs; one per thread.
    std::unique_ptr<httplib::Client> client() const;

    /// Posts to /control/<what> and fails the test when it is not accepted.
    teskal::service::Json control(const std::string& what, const teskal::service::Json& body) const;
    teskal::service::Json get(const std::string& path) const;
    /// Waits until `count` requests below `path` have come as far as `state`.
    bool waitFor(const std::string& path, const std::string& state, int count = 1) const;

    /// Signs in through the page, which consents by itself, and gives the token reply.
    teskal::service::Json signIn() const;
    /// The headers of a chat request with a fresh token.
    httplib::Headers bearer() const;

private:
    const teskal::service::Latch stop_;
    teskal::service::Service service_;
    teskal::service::HttpServer server_;
    int port_;
    std::thread thread_;
};

/// The query of a proper authorization request, with the challenge of RFC 7636 appendix B.
teskal::service::Form authorizeQuery();
/// The form that redeems a code made for it.
teskal::service::Form codeForm(const std::string& code);
/// Posts a form, strictly percent-encoded.
httplib::Result postForm(httplib::Client& client, const std::string& path, const teskal::service::Form& form);
/// The query of the Location header.
teskal::service::Form locationQuery(const httplib::Result& reply);
/// The body of a chat request with one question.
std::string question(const std::string& text);
