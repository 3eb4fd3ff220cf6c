#include "api/VoiceRoutes.h"

#include "Encoding.h"
#include "Sound.h"
#include "api/SignedIn.h"

namespace teskal::service {

HttpReply transcribe(const HttpRequest& request, SharedState&, const std::string&) {
    if (request.body.empty())
        return badRequest("There is nothing to hear.");
    const std::string type = headerValue(request.headers, "Content-Type");
    return jsonReply(200, {{"text", "I heard " + std::to_string(request.body.size()) + " bytes of " +
                                        (type.empty() ? "audio" : type.substr(0, 100)) + "."}});
}

HttpReply speech(const HttpRequest& request, SharedState&, const std::string&) {
    const auto body = parseJson(request.body);
    const auto text = body ? stringMember(*body, "text") : std::nullopt;
    if (!text || trimmed(*text).empty())
        return badRequest("The request needs a \"text\" to say.");
    HttpReply reply;
    reply.headers = {{"Content-Type", "audio/wav"}, {"Cache-Control", "no-store"}};
    reply.body = murmur(*text);
    return reply;
}

} // namespace teskal::service
