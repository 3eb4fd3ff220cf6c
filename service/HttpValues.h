#pragma once

#include "Forms.h"
#include "SafeJson.h"

#include <cstddef>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace teskal::service {

/// Header names and values in the order they came. Names compare without regard to case.
using HeaderList = std::vector<std::pair<std::string, std::string>>;

/// The value of the first header called `name`, empty when there is none.
std::string headerValue(const HeaderList& headers, std::string_view name);
/// Replaces every header called `name` by one with `value`.
void setHeader(HeaderList& headers, std::string_view name, std::string value);

/// A request as the routes see it, complete with its body.
struct HttpRequest {
    std::string method;
    std::string path; ///< percent-decoded, without the query
    Form query;
    HeaderList headers;
    std::string body;
};

/// One write of a streamed body.
struct Piece {
    std::string bytes;
    int ticks = 0; ///< chunk delays to wait before it is sent
};

/// An answer as the routes make it; how it is sent (or spoiled) is decided afterwards.
struct HttpReply {
    int status = 200;
    HeaderList headers;
    std::string body;
    std::vector<Piece> pieces; ///< the body when `streamed`
    bool streamed = false;
};

HttpReply jsonReply(int status, const Json& body);
/// {"error": message}, with {"code": code} beside it when there is one.
HttpReply errorReply(int status, const std::string& message, const std::string& code = {});
HttpReply htmlReply(int status, std::string page);
HttpReply redirectReply(int status, const std::string& location);

} // namespace teskal::service
