#include "api/ChatsRoutes.h"

#include "CanonicalJson.h"
#include "Identifiers.h"
#include "api/SignedIn.h"
#include "api/WireChat.h"

#include <charconv>

namespace teskal::service {

namespace {

HttpReply jsonTextReply(std::string text) {
    HttpReply reply = jsonReply(200, {});
    reply.body = std::move(text);
    return reply;
}

/// {"chat": …} with the chat as it was sent.
HttpReply chatReply(const StoredChat& chat) {
    return jsonTextReply(R"({"chat":)" + chat.json + '}');
}

HttpReply listReply(const std::vector<StoredChat>& chats) {
    std::string text = R"({"enabled":true,"chats":[)";
    for (const StoredChat& chat : chats) {
        text += text.back() == '[' ? "" : ",";
        text += R"({"id":)" + stringText(chat.id) + R"(,"title":)" + stringText(chat.title) +
                R"(,"updatedAt":)" + numberText(chat.updatedAt) +
                (chat.deleted ? R"(,"deleted":true})" : "}");
    }
    return jsonTextReply(text + "]}");
}

/// A whole number of milliseconds; nothing when the text is none.
std::optional<double> timeFrom(const std::string& text) {
    std::int64_t ms = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), ms);
    const bool isWhole = error == std::errc{} && end == text.data() + text.size();
    const auto time = static_cast<double>(ms);
    return isWhole && isTime(time) ? std::optional(time) : std::nullopt;
}

} // namespace

HttpReply getChats(const HttpRequest& request, SharedState& state, const std::string& account) {
    if (!request.query.contains("id"))
        return listReply(state.with([&](ServiceState& s) { return s.chats.list(account); }));
    const std::string id = formValue(request.query, "id");
    if (!isIdentifier(id))
        return badRequest("That is not a chat's identifier.");
    const auto chat = state.with([&](ServiceState& s) { return s.chats.find(account, id); });
    return chat ? chatReply(*chat) : errorReply(404, "This chat is not here.", "NOT_FOUND");
}

HttpReply putChat(const HttpRequest& request, SharedState& state, const std::string& account) {
    const auto read = readChatUpload(request.body);
    if (const auto* problem = std::get_if<std::string>(&read))
        return badRequest(*problem);
    const auto& chat = std::get<StoredChat>(read);
    return state.with([&](ServiceState& s) {
        const auto outcome = s.chats.put(account, chat);
        if (outcome == ChatTable::Put::Newer)
            return chatReply(s.chats.find(account, chat.id).value());
        return jsonReply(200, {{outcome == ChatTable::Put::Saved ? "saved" : "deleted", true}});
    });
}

HttpReply deleteChat(const HttpRequest& request, SharedState& state, const std::string& account) {
    const std::string id = formValue(request.query, "id");
    const auto at = timeFrom(formValue(request.query, "at"));
    if (!isIdentifier(id))
        return badRequest("That is not a chat's identifier.");
    if (!at)
        return badRequest("\"at\" must be the time of the deletion in whole milliseconds.");
    const bool deleted = state.with([&](ServiceState& s) { return s.chats.remove(account, id, *at); });
    return jsonReply(200, {{"deleted", deleted}});
}

} // namespace teskal::service
