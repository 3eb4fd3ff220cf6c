#include "ChatRoutes.h"

#include "Answers.h"
#include "Encoding.h"
#include "OAuthRoutes.h"
#include "api/SettingsRoutes.h"

namespace teskal::service {

namespace {

void addRouteHeaders(HttpReply& reply, const Answer& answer, bool firstExchange) {
    const Route& route = answer.route;
    const HeaderList headers = {{"X-Teskal-Model", route.model},
                                {"X-Teskal-Model-Name", route.name},
                                {"X-Teskal-Lab", route.lab},
                                {"X-Teskal-Task", route.task},
                                {"X-Teskal-Difficulty", route.difficulty},
                                {"X-Teskal-Preference", route.preference},
                                {"X-Teskal-Effort", route.effort},
                                {"X-Teskal-Web", route.web ? "1" : "0"},
                                {"X-Teskal-Route", percentEncode(jsonText(route.decision()))}};
    reply.headers.insert(reply.headers.end(), headers.begin(), headers.end());
    if (firstExchange)
        setHeader(reply.headers, "X-Teskal-Title", percentEncode(answer.title));
}

Json routeObject(const Answer& answer, bool firstExchange) {
    const Route& route = answer.route;
    Json json = {{"model", route.model},        {"name", route.name}, {"lab", route.lab},
                 {"task", route.task},          {"web", route.web},   {"difficulty", route.difficulty},
                 {"decision", route.decision()}};
    if (firstExchange)
        json["title"] = answer.title;
    return json;
}

/// E-mail addresses are the one personal detail that is easy to count without guessing.
std::size_t personalDetails(const std::string& text) {
    std::size_t count = 0;
    for (std::size_t at = text.find('@'); at != std::string::npos; at = text.find('@', at + 1)) {
        const bool before = at > 0 && static_cast<unsigned char>(text[at - 1]) > ' ';
        const bool after = at + 1 < text.size() && static_cast<unsigned char>(text[at + 1]) > ' ';
        count += before && after ? 1 : 0;
    }
    return count;
}

HttpReply streamReply(const WrittenAnswer& written, bool withEvents) {
    HttpReply reply;
    reply.headers = {{"Content-Type", "text/plain; charset=utf-8"},
                     {"Cache-Control", "no-store"},
                     {"X-Content-Type-Options", "nosniff"}};
    reply.streamed = true;
    reply.pieces = frame(written.script, withEvents, written.pieceSize);
    for (Piece& piece : reply.pieces)
        piece.ticks *= written.tickScale;
    return reply;
}

/// The account that asks: a bearer token's, or that of a key made for such calls.
std::optional<std::string> callerOf(const HttpRequest& request, SharedState& state) {
    if (const auto profile = bearerOf(request, state))
        return profile->sub;
    const std::string key = bearerTokenIn(request);
    return state.with([&](ServiceState& s) { return s.keys.use(key, s.clock.nowMs()); });
}

HttpReply refusal(const FailedAnswer& failed) {
    return errorReply(failed.status, failed.message, failed.code);
}

/// Keeps what the answer began or made: a job, or a picture, which may then be named by its identifier.
void keepMedia(MediaAnswer& media, bool isPrivate, ServiceState& s, const std::string& account) {
    const std::string type = media.body["type"];
    if (type != "image") {
        const auto due = s.clock.nowMs() + s.jobLife.count();
        s.jobs.add(account, {media.body["requestId"], type, media.body["prompt"], due, media.fails, {}});
    } else if (!isPrivate) {
        const std::string url = media.body["dataUrl"];
        media.body["fileId"] =
            s.files.add(account, {"image/png", fromBase64(url.substr(url.find(',') + 1)).value_or("")});
    }
}

} // namespace

HttpReply chat(const HttpRequest& request, SharedState& state) {
    const auto account = callerOf(request, state);
    if (!account)
        return unauthorized();
    const auto read = readChatRequest(request.body);
    if (const auto* problem = std::get_if<std::string>(&read))
        return errorReply(400, *problem, "BAD_REQUEST");
    const auto& conversation = std::get<ChatRequest>(read);
    Answer answer = answerTo(conversation);
    if (const auto* failed = std::get_if<FailedAnswer>(&answer.content))
        return refusal(*failed);

    auto* media = std::get_if<MediaAnswer>(&answer.content);
    std::size_t details = personalDetails(conversation.question().content);
    const bool isPaid = state.with([&](ServiceState& s) {
        if (!s.accounts.settings(*account).anonymize)
            details = 0;
        if (!s.accounts.charge(*account, details > 0 ? 1 + anonymizeCredits : 1))
            return false;
        if (media)
            keepMedia(*media, headerValue(request.headers, "X-Teskal-Private") == "1", s, *account);
        return true;
    });
    if (!isPaid)
        return refusal(outOfCredits());

    const bool first = conversation.isFirstExchange();
    HttpReply reply;
    if (media) {
        Json body = media->body;
        body["route"] = routeObject(answer, first);
        reply = jsonReply(200, body);
    } else {
        reply = streamReply(std::get<WrittenAnswer>(answer.content),
                            headerValue(request.headers, "X-Teskal-Events") == "1");
    }
    addRouteHeaders(reply, answer, first);
    if (details > 0)
        setHeader(reply.headers, "X-Teskal-Anonymized", std::to_string(details));
    return reply;
}

} // namespace teskal::service
