#pragma once

#include "HttpValues.h"

#include <optional>
#include <string>
#include <string_view>

namespace teskal::service {

/// A page with the service's look: `body` is HTML, `title` is text. Its policy lets in nothing but the
/// inline style, and forms go to `formTargets` only.
HttpReply page(int status, const std::string& title, const std::string& body,
               const std::string& formTargets = "'none'");

/// The plain pages: "/", "/docs", "/docs/api-chat", "/status".
std::optional<HttpReply> plainPage(std::string_view path);

} // namespace teskal::service
