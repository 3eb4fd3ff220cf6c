#include "Account.h"

using namespace teskal::service;

namespace {

httplib::Headers signedIn(const RunningService& service, const std::string& email) {
    service.control("consent", {{"automatic", true}, {"email", email}});
    return service.bearer();
}

} // namespace

Account::Account(const RunningService& service, const std::string& email)
    : Account(service, signedIn(service, email)) {}

Account::Account(const RunningService& service, httplib::Headers headers)
    : client_(service.client()), headers_(std::move(headers)) {
    client_->set_keep_alive(true);
    client_->set_tcp_nodelay(true);
}

Json Account::Reply::json() const {
    const Json json = Json::parse(body, nullptr, false);
    return json.is_discarded() ? Json("not JSON: " + body.substr(0, 200)) : json;
}

Account::Reply Account::send(const std::string& method, const std::string& path, const std::string& body,
                             const std::string& type) const {
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

Json Account::call(const std::string& method, const std::string& path, const Json& body) const {
    return send(method, path, body.dump()).json();
}
