#include "api/FileRoutes.h"

#include "Identifiers.h"
#include "api/SignedIn.h"

#include <algorithm>

namespace teskal::service {

namespace {

constexpr std::size_t longestType = 200;

/// What came as Content-Type, when it can be sent as one again.
std::string typeOf(const HttpRequest& request) {
    std::string type = headerValue(request.headers, "Content-Type");
    const bool isPlain = std::all_of(type.begin(), type.end(), [](char c) { return c >= ' ' && c <= '~'; });
    return type.empty() || type.size() > longestType || !isPlain ? "application/octet-stream" : type;
}

} // namespace

HttpReply postFile(const HttpRequest& request, SharedState& state, const std::string& account) {
    const StoredFile file{typeOf(request), request.body};
    const auto id = state.with([&](ServiceState& s) { return s.files.add(account, file); });
    return jsonReply(200, {{"id", id}});
}

HttpReply getFile(const HttpRequest& request, SharedState& state, const std::string& account) {
    const std::string id = formValue(request.query, "id");
    if (!isIdentifier(id))
        return badRequest("That is not a file's identifier.");
    auto file = state.with([&](ServiceState& s) { return s.files.find(account, id); });
    if (!file)
        return errorReply(404, "This file is not here.", "NOT_FOUND");
    HttpReply reply;
    reply.headers = {{"Content-Type", std::move(file->type)},
                     {"Cache-Control", "private, no-store"},
                     {"X-Content-Type-Options", "nosniff"}};
    reply.body = std::move(file->bytes);
    return reply;
}

} // namespace teskal::service
