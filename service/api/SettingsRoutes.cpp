#include "api/SettingsRoutes.h"

#include "Models.h"
#include "api/SignedIn.h"

#include <algorithm>

namespace teskal::service {

namespace {

constexpr std::size_t mostModels = 500;
constexpr std::size_t longestModel = 200; ///< bytes

Json describe(const AccountSettings& settings) {
    return {{"anonymize", settings.anonymize}, {"disabledModels", Json::parse(settings.disabledModels)}};
}

bool isModelList(const Json& json) {
    return json.is_array() && json.size() <= mostModels &&
           std::all_of(json.begin(), json.end(), [](const Json& id) {
               return id.is_string() && id.get_ref<const std::string&>().size() <= longestModel;
           });
}

} // namespace

HttpReply getSettings(const HttpRequest&, SharedState& state, const std::string& account) {
    Json options = Json::array();
    for (const Model& model : models())
        options.push_back({{"id", model.id},
                           {"ids", Json::array({model.id})},
                           {"name", model.name},
                           {"lab", model.lab},
                           {"kind", model.kind}});
    const auto settings = state.with([&](ServiceState& s) { return s.accounts.settings(account); });
    return jsonReply(200, {{"settings", describe(settings)},
                           {"models", options},
                           {"anonymizeCredits", anonymizeCredits},
                           {"enabled", true}});
}

HttpReply putSettings(const HttpRequest& request, SharedState& state, const std::string& account) {
    const auto body = parseJson(request.body);
    if (!body || !body->is_object())
        return badRequest("The request body must be a JSON object.");
    const auto anonymize = body->find("anonymize");
    const auto disabled = body->find("disabledModels");
    if (anonymize != body->end() && !anonymize->is_boolean())
        return badRequest("\"anonymize\" must be true or false.");
    if (disabled != body->end() && !isModelList(*disabled))
        return badRequest("\"disabledModels\" must be a list of model identifiers.");
    return state.with([&](ServiceState& s) {
        AccountSettings settings = s.accounts.settings(account);
        if (anonymize != body->end())
            settings.anonymize = anonymize->get<bool>();
        if (disabled != body->end())
            settings.disabledModels = jsonText(*disabled);
        s.accounts.setSettings(account, settings);
        return jsonReply(200, {{"settings", describe(settings)}});
    });
}

HttpReply getRoutes(const HttpRequest&, SharedState&, const std::string&) {
    Json pool = Json::array();
    for (const Model& model : models())
        pool.push_back(
            {{"id", model.id},
             {"name", model.name},
             {"lab", model.lab},
             {"health",
              {{"samples", model.samples}, {"ttft", model.firstTokenMs}, {"errorRate", model.errorRate}}}});
    return jsonReply(200, {{"pool", pool}});
}

} // namespace teskal::service
