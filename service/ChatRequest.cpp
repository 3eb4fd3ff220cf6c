#include "ChatRequest.h"

#include "SafeJson.h"

namespace teskal::service {

namespace {

struct Invalid {
    std::string message;
};

std::string stringAt(const Json& object, const char* name, const std::string& where) {
    auto value = stringMember(object, name);
    if (!value)
        throw Invalid{where + " needs a string \"" + name + "\"."};
    return std::move(*value);
}

ChatAttachment readAttachment(const Json& json, const std::string& where) {
    ChatAttachment attachment;
    attachment.mediaType = stringAt(json, "mediaType", where);
    const auto url = stringMember(json, "dataUrl");
    attachment.isInline = url.has_value();
    if (!url && !stringMember(json, "fileId"))
        throw Invalid{where + " needs a \"fileId\" or a \"dataUrl\"."};
    if (url && !url->starts_with("data:"))
        throw Invalid{where + " has a \"dataUrl\" that is not a data URL."};
    return attachment;
}

ChatTurn readTurn(const Json& json, const std::string& where) {
    ChatTurn turn{stringAt(json, "role", where), stringAt(json, "content", where), {}};
    if (turn.role != "user" && turn.role != "assistant")
        throw Invalid{where + " has an unknown role."};
    const auto attachments = json.find("attachments");
    if (attachments == json.end())
        return turn;
    if (!attachments->is_array())
        throw Invalid{where + " has \"attachments\" that are not a list."};
    for (const Json& attachment : *attachments)
        turn.attachments.push_back(readAttachment(attachment, "An attachment of " + where));
    return turn;
}

} // namespace

std::variant<ChatRequest, std::string> readChatRequest(std::string_view body) {
    const auto json = parseJson(body);
    if (!json)
        return "The request body is not valid JSON.";
    if (!json->is_object() || !json->contains("messages") || !json->at("messages").is_array())
        return "The request needs a list \"messages\".";
    ChatRequest request;
    try {
        for (const Json& message : json->at("messages"))
            request.turns.push_back(readTurn(message, "message " + std::to_string(request.turns.size())));
    } catch (const Invalid& invalid) {
        return invalid.message;
    }
    if (request.turns.empty() || request.question().role != "user")
        return "The last message must be the user's.";
    return request;
}

} // namespace teskal::service
