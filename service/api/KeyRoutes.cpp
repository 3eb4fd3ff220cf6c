#include "api/KeyRoutes.h"

#include "Encoding.h"
#include "api/SignedIn.h"

#include <algorithm>

namespace teskal::service {

namespace {

constexpr std::size_t longestName = 200; ///< bytes
constexpr std::size_t mostKeys = 100;    ///< that are not revoked

Json describe(const ApiKey& key) {
    Json json = {{"id", key.id}, {"name", key.name}, {"prefix", key.prefix}, {"createdAt", key.createdMs}};
    if (key.revokedMs)
        json["revokedAt"] = *key.revokedMs;
    if (key.usedMs)
        json["lastUsedAt"] = *key.usedMs;
    return json;
}

} // namespace

HttpReply getKeys(const HttpRequest&, SharedState& state, const std::string& account) {
    Json list = Json::array();
    for (const ApiKey& key : state.with([&](ServiceState& s) { return s.keys.list(account); }))
        list.push_back(describe(key));
    return jsonReply(200, {{"enabled", true}, {"keys", list}});
}

HttpReply postKey(const HttpRequest& request, SharedState& state, const std::string& account) {
    const auto body = parseJson(request.body);
    const std::string name(trimmed(body ? stringMember(*body, "name").value_or("") : ""));
    if (name.empty() || name.size() > longestName)
        return badRequest("A key needs a name of up to 200 bytes.");
    const std::string secret = "tkl_sk_" + randomText(24);
    return state.with([&](ServiceState& s) {
        const auto keys = s.keys.list(account);
        const auto live =
            std::count_if(keys.begin(), keys.end(), [](const ApiKey& k) { return !k.revokedMs; });
        if (static_cast<std::size_t>(live) >= mostKeys)
            return errorReply(409, "You can have up to 100 keys. Revoke one that you no longer use.",
                              "TOO_MANY_KEYS");
        const ApiKey key{"key_" + randomId(), name, secret.substr(0, 11), s.clock.nowMs(), {}, {}};
        s.keys.add(account, key, secret);
        return jsonReply(200, {{"id", key.id}, {"name", name}, {"secret", secret}});
    });
}

HttpReply deleteKey(const HttpRequest& request, SharedState& state, const std::string& account) {
    const auto body = parseJson(request.body);
    const auto id = body ? stringMember(*body, "id") : std::nullopt;
    if (!id)
        return badRequest("The request needs a string \"id\".");
    const bool known =
        state.with([&](ServiceState& s) { return s.keys.revoke(account, *id, s.clock.nowMs()); });
    return known ? jsonReply(200, {{"revoked", true}})
                 : errorReply(404, "This key is not known.", "NOT_FOUND");
}

} // namespace teskal::service
