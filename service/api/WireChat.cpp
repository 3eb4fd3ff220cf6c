#include "api/WireChat.h"

#include "Identifiers.h"
#include "JsonSlice.h"
#include "SafeJson.h"

#include <cmath>
#include <span>

namespace teskal::service {

namespace {

struct Invalid {
    std::string message;
};

using Check = bool (*)(const Json&);

bool isText(const Json& json) {
    return json.is_string();
}
bool isNumber(const Json& json) {
    return json.is_number();
}
bool isList(const Json& json) {
    return json.is_array();
}
bool isObject(const Json& json) {
    return json.is_object();
}
bool isName(const Json& json) {
    return json.is_string() && isIdentifier(json.get_ref<const std::string&>());
}
bool isMoment(const Json& json) {
    return json.is_number() && isTime(json.get<double>());
}

struct Member {
    const char* name;
    Check holds;
    bool required;
};

constexpr Member chatMembers[] = {{"id", isName, true},
                                  {"title", isText, false},
                                  {"createdAt", isMoment, false},
                                  {"updatedAt", isMoment, true},
                                  {"messages", isList, false}};
constexpr Member messageMembers[] = {{"id", isText, true},       {"role", isText, true},
                                     {"content", isText, false}, {"attachments", isList, false},
                                     {"media", isObject, false}, {"error", isObject, false}};
constexpr Member attachmentMembers[] = {
    {"name", isText, true}, {"mediaType", isText, true}, {"fileId", isText, false}};
constexpr Member mediaMembers[] = {
    {"type", isText, true},     {"status", isText, false},     {"fileId", isText, false},
    {"url", isText, false},     {"mediaType", isText, false},  {"prompt", isText, false},
    {"model", isText, false},   {"requestId", isText, false},  {"lyrics", isText, false},
    {"message", isText, false}, {"startedAt", isNumber, false}};

void check(const Json& json, std::span<const Member> members, const std::string& what) {
    if (!json.is_object())
        throw Invalid{what + " must be an object."};
    for (const Member& member : members) {
        const auto found = json.find(member.name);
        const bool isThere = found != json.end() && !found->is_null();
        if (!isThere && member.required)
            throw Invalid{what + " needs \"" + member.name + "\"."};
        if (isThere && !member.holds(*found))
            throw Invalid{"\"" + std::string(member.name) + "\" of " + what + " is not what it should be."};
    }
}

const Json& listOf(const Json& json, const char* name) {
    static const Json none = Json::array();
    const auto found = json.find(name);
    return found != json.end() && found->is_array() ? *found : none;
}

void checkMessage(const Json& message, const std::string& what) {
    check(message, messageMembers, what);
    for (const Json& attachment : listOf(message, "attachments"))
        check(attachment, attachmentMembers, "an attachment of " + what);
    if (const auto media = message.find("media"); media != message.end() && !media->is_null())
        check(*media, mediaMembers, "the media of " + what);
}

} // namespace

bool isTime(double ms) {
    return std::isfinite(ms) && ms >= 0 && ms <= 8.64e15; // the last moment of ECMAScript's Date
}

std::variant<StoredChat, std::string> readChatUpload(std::string_view body) {
    const auto json = parseJson(body);
    if (!json)
        return "The request body is not valid JSON.";
    if (!json->is_object() || !json->contains("chat"))
        return "The request needs a \"chat\".";
    const Json& chat = json->at("chat");
    const auto text = memberText(body, "chat");
    if (!text)
        return "The request needs a \"chat\".";
    try {
        check(chat, chatMembers, "The chat");
        std::size_t index = 0;
        for (const Json& message : listOf(chat, "messages"))
            checkMessage(message, "message " + std::to_string(index++));
    } catch (const Invalid& invalid) {
        return invalid.message;
    }
    return StoredChat{chat["id"], stringMember(chat, "title").value_or(""), chat["updatedAt"].get<double>(),
                      false, std::string(*text)};
}

} // namespace teskal::service
