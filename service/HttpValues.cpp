#include "HttpValues.h"

#include "Encoding.h"

#include <algorithm>

namespace teskal::service {

namespace {

bool sameName(std::string_view a, std::string_view b) {
    return lowerAscii(a) == lowerAscii(b);
}

} // namespace

std::string headerValue(const HeaderList& headers, std::string_view name) {
    const auto found = std::find_if(headers.begin(), headers.end(),
                                    [&](const auto& header) { return sameName(header.first, name); });
    return found == headers.end() ? std::string{} : found->second;
}

void setHeader(HeaderList& headers, std::string_view name, std::string value) {
    std::erase_if(headers, [&](const auto& header) { return sameName(header.first, name); });
    headers.emplace_back(std::string(name), std::move(value));
}

HttpReply jsonReply(int status, const Json& body) {
    HttpReply reply;
    reply.status = status;
    reply.headers = {{"Content-Type", "application/json"}, {"Cache-Control", "no-store"}};
    reply.body = jsonText(body);
    return reply;
}

HttpReply errorReply(int status, const std::string& message, const std::string& code) {
    Json body = {{"error", message}};
    if (!code.empty())
        body["code"] = code;
    return jsonReply(status, body);
}

HttpReply htmlReply(int status, std::string page) {
    HttpReply reply;
    reply.status = status;
    reply.headers = {{"Content-Type", "text/html; charset=utf-8"},
                     {"Cache-Control", "no-store"},
                     {"Referrer-Policy", "no-referrer"},
                     {"X-Content-Type-Options", "nosniff"}};
    reply.body = std::move(page);
    return reply;
}

HttpReply redirectReply(int status, const std::string& location) {
    HttpReply reply;
    reply.status = status;
    reply.headers = {{"Location", location}, {"Cache-Control", "no-store"}};
    return reply;
}

} // namespace teskal::service
