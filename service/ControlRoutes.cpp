#include "ControlRoutes.h"

#include <algorithm>
#include <charconv>
#include <initializer_list>

namespace teskal::service {

namespace {

constexpr int longestWait = 60'000; ///< ms

HttpReply bad(const std::string& message) {
    return errorReply(400, message, "BAD_CONTROL");
}
HttpReply done() {
    return jsonReply(200, {{"ok", true}});
}

/// The first member of `json` that is not among `known`.
std::optional<std::string> unknownMember(const Json& json, std::initializer_list<const char*> known) {
    for (const auto& [name, value] : json.items()) {
        if (std::find(known.begin(), known.end(), name) == known.end())
            return name;
    }
    return std::nullopt;
}

HttpReply next(const Json& body, SharedState& state) {
    std::vector<Override> overrides;
    const Json list = body.is_array() ? body : Json::array({body});
    for (const Json& item : list) {
        auto read = readOverride(item);
        if (const auto* problem = std::get_if<std::string>(&read))
            return bad(*problem);
        overrides.push_back(std::get<Override>(std::move(read)));
    }
    state.with([&](ServiceState& s) {
        for (Override& override : overrides)
            s.control.queue(std::move(override));
    });
    return done();
}

HttpReply tokens(const Json& body, SharedState& state) {
    if (const auto name =
            unknownMember(body, {"accessTokenSeconds", "refreshTokens", "expireAll", "revokeAll"}))
        return bad("\"" + *name + "\" is not known.");
    const Json seconds = body.value("accessTokenSeconds", Json());
    if (!seconds.is_null() && (!seconds.is_number_integer() || seconds < 0 || seconds > 100'000'000))
        return bad("\"accessTokenSeconds\" must be a whole number.");
    const auto how = stringMember(body, "refreshTokens");
    const auto policy = how ? refreshPolicyFrom(*how) : std::nullopt;
    if (body.contains("refreshTokens") && !policy)
        return bad("\"refreshTokens\" must be rotate, omit, keep or none.");
    state.with([&](ServiceState& s) {
        TokenPolicy wanted = s.oauth.policy();
        if (!seconds.is_null())
            wanted.accessTokenLife = std::chrono::seconds(seconds.get<long>());
        wanted.refresh = policy.value_or(wanted.refresh);
        s.oauth.setPolicy(wanted);
        if (body.value("expireAll", Json()) == true)
            s.oauth.expireAccessTokens();
        if (body.value("revokeAll", Json()) == true)
            s.oauth.revokeAll();
    });
    return done();
}

HttpReply consent(const Json& body, SharedState& state) {
    if (const auto name = unknownMember(body, {"automatic", "deny", "name", "email"}))
        return bad("\"" + *name + "\" is not known.");
    state.with([&](ServiceState& s) {
        s.consent.automatic = body.value("automatic", Json(s.consent.automatic)) == true;
        s.consent.deny = body.value("deny", Json(s.consent.deny)) == true;
        s.consent.name = stringMember(body, "name").value_or(s.consent.name);
        s.consent.email = stringMember(body, "email").value_or(s.consent.email);
    });
    return done();
}

/// Takes exactly one of its members.
HttpReply clock(const Json& body, SharedState& state) {
    if (const auto name = unknownMember(body, {"nowMs", "offsetMs", "real"}))
        return bad("\"" + *name + "\" is not known.");
    if (body.size() != 1)
        return bad("One of \"nowMs\", \"offsetMs\" and \"real\" is needed.");
    const Json& value = body.begin().value();
    constexpr std::int64_t farthest =
        7'000'000'000'000; // the system's clock counts nanoseconds up to the year 2262
    const bool isReal = body.begin().key() == "real";
    if (isReal ? value != true : !value.is_number_integer() || value < -farthest || value > farthest)
        return bad("The clock can't be set to that.");
    return state.with([&](ServiceState& s) {
        if (body.contains("nowMs"))
            s.clock.stopAt(std::chrono::milliseconds(value.get<std::int64_t>()));
        else
            s.clock.runWithOffset(std::chrono::milliseconds(isReal ? 0 : value.get<std::int64_t>()));
        return jsonReply(200, {{"ok", true}, {"nowMs", s.clock.nowMs()}});
    });
}

RequestFilter filterFrom(const Json& body) {
    return {stringMember(body, "path").value_or(""), stringMember(body, "method").value_or("")};
}

HttpReply hold(const Json& body, SharedState& state) {
    if (const auto name = unknownMember(body, {"path", "method", "afterBytes"}))
        return bad("\"" + *name + "\" is not known.");
    std::optional<std::size_t> afterBytes;
    if (body.contains("afterBytes")) {
        if (!body["afterBytes"].is_number_unsigned())
            return bad("\"afterBytes\" must be a whole number, not negative.");
        afterBytes = body["afterBytes"].get<std::size_t>();
    }
    const int id = state.with([&](ServiceState& s) { return s.control.hold(filterFrom(body), afterBytes); });
    return jsonReply(200, {{"id", id}});
}

HttpReply release(const Json& body, SharedState& state) {
    if (const auto name = unknownMember(body, {"id"}))
        return bad("\"" + *name + "\" is not known.");
    std::optional<int> id;
    if (body.contains("id")) {
        if (!body["id"].is_number_integer())
            return bad("\"id\" must be a number.");
        id = body["id"].get<int>();
    }
    const auto count = state.with([&](ServiceState& s) { return s.control.release(id); });
    return jsonReply(200, {{"released", count}});
}

int numberIn(const Form& query, const std::string& name, int fallback) {
    const std::string text = formValue(query, name);
    int value = fallback;
    std::from_chars(text.data(), text.data() + text.size(), value);
    return value;
}

/// Answers once enough requests have come as far as asked: tests wait here rather than look again.
HttpReply wait(const HttpRequest& request, SharedState& state, const Latch& stop) {
    const RequestFilter filter{formValue(request.query, "path"), formValue(request.query, "method")};
    const std::string wanted = formValue(request.query, "state");
    if (!wanted.empty() && wanted != "received" && wanted != "held" && wanted != "finished")
        return bad("\"state\" must be received, held or finished.");
    const int count = numberIn(request.query, "count", 1);
    const int timeout = std::clamp(numberIn(request.query, "timeoutMs", 5000), 0, longestWait);
    std::size_t seen = 0;
    const bool reached = state.waitUntil(std::chrono::milliseconds(timeout), [&](const ServiceState& s) {
        seen = s.control.count(filter, wanted);
        return seen >= static_cast<std::size_t>(std::max(0, count)) || stop.isOpen();
    });
    if (!reached || stop.isOpen())
        return jsonReply(408, {{"error", "That many requests did not come in time."}, {"count", seen}});
    return jsonReply(200, {{"count", seen}});
}

HttpReply describeState(SharedState& state) {
    return state.with([](ServiceState& s) {
        const auto counts = s.oauth.counts();
        return jsonReply(200, {{"codesIssued", counts.codesIssued},
                               {"accessTokensIssued", counts.tokensIssued},
                               {"refreshes", counts.refreshes},
                               {"revocations", counts.revocations},
                               {"sessions", counts.sessions},
                               {"consentPages", counts.consents},
                               {"held", s.control.count({}, "held")},
                               {"holds", s.control.openHolds()},
                               {"queued", s.control.queuedOverrides()}});
    });
}

HttpReply get(const HttpRequest& request, SharedState& state, const Latch& stop) {
    if (request.path == "/control/requests") {
        const RequestFilter filter{formValue(request.query, "path"), formValue(request.query, "method")};
        return jsonReply(200, state.with([&](ServiceState& s) { return s.control.requests(filter); }));
    }
    if (request.path == "/control/state")
        return describeState(state);
    if (request.path == "/control/wait")
        return wait(request, state, stop);
    return errorReply(404, "Not found");
}

HttpReply post(const HttpRequest& request, SharedState& state) {
    const auto body = parseJson(request.body.empty() ? "{}" : request.body);
    if (!body || (!body->is_object() && !body->is_array()))
        return bad("The body must be a JSON object.");
    if (request.path == "/control/next")
        return next(*body, state);
    if (!body->is_object())
        return bad("The body must be a JSON object.");
    if (request.path == "/control/tokens")
        return tokens(*body, state);
    if (request.path == "/control/consent")
        return consent(*body, state);
    if (request.path == "/control/clock")
        return clock(*body, state);
    if (request.path == "/control/hold")
        return hold(*body, state);
    if (request.path == "/control/release")
        return release(*body, state);
    if (request.path == "/control/reset") {
        state.with([](ServiceState& s) { s.control.reset(); });
        return done();
    }
    return errorReply(404, "Not found");
}

} // namespace

HttpReply control(const HttpRequest& request, SharedState& state, const Latch& stop) {
    if (request.method == "GET")
        return get(request, state, stop);
    if (request.method == "POST")
        return post(request, state);
    return errorReply(405, "This method is not offered here.");
}

} // namespace teskal::service
