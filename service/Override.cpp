#include "Override.h"

#include "Encoding.h"
#include "EventStream.h"

namespace teskal::service {

namespace {

struct Invalid {
    std::string message;
};

int numberFrom(const Json& value, const std::string& name) {
    if (!value.is_number_integer() || value < 0 || value > 1'000'000'000)
        throw Invalid{"\"" + name + "\" must be a whole number, not negative."};
    return value.get<int>();
}

std::string textFrom(const Json& value, const std::string& name) {
    if (!value.is_string())
        throw Invalid{"\"" + name + "\" must be a string."};
    return value.get<std::string>();
}

bool flagFrom(const Json& value, const std::string& name) {
    if (!value.is_boolean())
        throw Invalid{"\"" + name + "\" must be true or false."};
    return value.get<bool>();
}

std::string bytesFrom(const Json& value, const std::string& name) {
    auto bytes = fromBase64(textFrom(value, name));
    if (!bytes)
        throw Invalid{"\"" + name + "\" must be base64."};
    return std::move(*bytes);
}

int statusFrom(const Json& value) {
    const int status = numberFrom(value, "status");
    if (status < 200 || status > 599)
        throw Invalid{"\"status\" must lie between 200 and 599."};
    return status;
}

void readHeaders(Override& result, const Json& value) {
    if (!value.is_object())
        throw Invalid{"\"headers\" must be an object."};
    for (const auto& [name, text] : value.items()) {
        const std::string header = textFrom(text, "headers." + name);
        if (header.find_first_of("\r\n") != std::string::npos)
            throw Invalid{"A header must not hold a line break."};
        setHeader(result.headers, name, header);
    }
}

void readRedirect(Override& result, const Json& value) {
    const auto location = stringMember(value, "location");
    if (!location)
        throw Invalid{"\"redirect\" needs a \"location\"."};
    result.status = value.contains("status") ? statusFrom(value["status"]) : 302;
    setHeader(result.headers, "Location", *location);
}

void readChunks(Override& result, const Json& value) {
    if (!value.is_array())
        throw Invalid{"\"chunks\" must be a list of sizes."};
    for (const Json& size : value)
        result.chunks.push_back(static_cast<std::size_t>(numberFrom(size, "chunks")));
}

void readMember(Override& result, const std::string& name, const Json& value) {
    if (name == "path")
        result.filter.path = textFrom(value, name);
    else if (name == "method")
        result.filter.method = textFrom(value, name);
    else if (name == "times")
        result.times = numberFrom(value, name);
    else if (name == "skip")
        result.skip = numberFrom(value, name);
    else if (name == "delayMs")
        result.delay = std::chrono::milliseconds(numberFrom(value, name));
    else if (name == "chunkDelayMs")
        result.chunkDelay = std::chrono::milliseconds(numberFrom(value, name));
    else if (name == "status")
        result.status = statusFrom(value);
    else if (name == "headers")
        readHeaders(result, value);
    else if (name == "body")
        result.body = textFrom(value, name);
    else if (name == "json")
        result.body = jsonText(value);
    else if (name == "bodyBase64")
        result.body = bytesFrom(value, name);
    else if (name == "rawStream")
        result.rawStream = bytesFrom(value, name);
    else if (name == "chunks")
        readChunks(result, value);
    else if (name == "truncateAfterBytes")
        result.truncateAfter = static_cast<std::size_t>(numberFrom(value, name));
    else if (name == "drop" && value == "reset")
        result.drop = Override::Drop::Reset;
    else if (name == "drop")
        result.drop = flagFrom(value, name) ? Override::Drop::Close : Override::Drop::No;
    else if (name == "hang")
        result.hang = flagFrom(value, name);
    else if (name == "process")
        result.process = flagFrom(value, name);
    else if (name == "redirect")
        readRedirect(result, value);
    else
        throw Invalid{"\"" + name + "\" is not known."};
}

} // namespace

bool RequestFilter::matches(const HttpRequest& request) const {
    // Whole segments only: "/api/chat" must not catch what goes to "/api/chats".
    const bool isBelow = path.empty() || path.ends_with('/') || request.path.size() == path.size() ||
                         (request.path.size() > path.size() && request.path[path.size()] == '/');
    return request.path.starts_with(path) && isBelow && (method.empty() || request.method == method);
}

HttpReply Override::applied(HttpReply reply) const {
    if (replacesReply()) {
        reply = HttpReply{};
        reply.status = status.value_or(200);
        reply.body = body.value_or("");
        setHeader(reply.headers, "Content-Type",
                  rawStream ? "text/plain; charset=utf-8" : "application/json");
    }
    if (rawStream) {
        reply.streamed = true;
        reply.pieces = cutInto(*rawStream, chunks);
    }
    for (const auto& [name, value] : headers)
        setHeader(reply.headers, name, value);
    return reply;
}

std::variant<Override, std::string> readOverride(const Json& json) {
    if (!json.is_object())
        return "An override is an object.";
    Override result;
    try {
        for (const auto& [name, value] : json.items())
            readMember(result, name, value);
    } catch (const Invalid& invalid) {
        return invalid.message;
    }
    return result;
}

} // namespace teskal::service
