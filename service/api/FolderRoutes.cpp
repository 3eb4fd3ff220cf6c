#include "api/FolderRoutes.h"

#include "FolderDocument.h"
#include "api/SignedIn.h"

#include <array>

namespace teskal::service {

namespace {

constexpr std::size_t largestDocument = 8 * 1024 * 1024; ///< bytes
constexpr std::size_t mostFolders = 200;
constexpr std::size_t mostAssignments = 50'000;

/// A reply with the account's document, and the reason when it was left as it is.
HttpReply documentReply(const std::string& document, const char* refusal = nullptr) {
    HttpReply reply = jsonReply(refusal ? 413 : 200, {});
    reply.body = refusal ? R"({"error":")" + std::string(refusal) + R"(",)" : "{";
    reply.body += R"("document":)" + document + '}';
    return reply;
}

std::string asText(const std::string& stored) {
    return FolderDocument::fromJson(Json::parse(stored)).toText();
}

} // namespace

HttpReply putFolders(const HttpRequest& request, SharedState& state, const std::string& account) {
    if (request.body.size() > largestDocument) {
        const auto stored = state.with([&](ServiceState& s) { return s.folders.load(account); });
        return documentReply(asText(stored), "Your folders take too much space to sync.");
    }
    const auto json = parseJson(request.body);
    if (!json || !json->is_object())
        return badRequest("The request body must be a folder document.");
    std::array documents = {FolderDocument::fromJson(*json), FolderDocument{}};
    // Read, merged and written in one go: two devices must not overwrite each other's part.
    return state.with([&](ServiceState& s) {
        const std::string stored = s.folders.load(account);
        documents[1] = FolderDocument::fromJson(Json::parse(stored));
        const FolderDocument merged = merge(documents, s.clock.nowMs());
        if (merged.folders.size() > mostFolders)
            return documentReply(documents[1].toText(), "You can have up to 200 folders.");
        if (merged.assignments.size() > mostAssignments)
            return documentReply(documents[1].toText(), "Too many chats are in folders to sync.");
        const std::string text = merged.toText();
        if (text != stored)
            s.folders.save(account, text);
        return documentReply(text);
    });
}

} // namespace teskal::service
