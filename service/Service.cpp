#include "Service.h"

#include "ChatRoutes.h"
#include "ControlRoutes.h"
#include "OAuthRoutes.h"
#include "Pages.h"
#include "api/BillingRoutes.h"
#include "api/ChatsRoutes.h"
#include "api/FileRoutes.h"
#include "api/FolderRoutes.h"
#include "api/JobRoutes.h"
#include "api/KeyRoutes.h"
#include "api/SettingsRoutes.h"
#include "api/SignedIn.h"
#include "api/UnfurlRoutes.h"
#include "api/VoiceRoutes.h"

#include <algorithm>
#include <iostream>

namespace teskal::service {

namespace {

struct Route {
    const char* method;
    const char* path;
    HttpReply (*handle)(const HttpRequest&, SharedState&);
};

constexpr Route routes[] = {
    {"GET", "/oauth/authorize", showAuthorize},
    {"POST", "/oauth/authorize", decideAuthorize},
    {"POST", "/functions/v1/oauth/token", exchangeToken},
    {"GET", "/functions/v1/oauth/userinfo", userInfo},
    {"POST", "/functions/v1/oauth/revoke", revokeToken},
    {"POST", "/api/chat", chat},
    {"GET", "/api/chats", signedIn<getChats>},
    {"PUT", "/api/chats", signedIn<putChat>},
    {"DELETE", "/api/chats", signedIn<deleteChat>},
    {"PUT", "/api/folders", signedIn<putFolders>},
    {"POST", "/api/files", signedIn<postFile>},
    {"GET", "/api/files", signedIn<getFile>},
    {"GET", "/api/video", signedIn<getVideoJob>},
    {"GET", "/api/music", signedIn<getMusicJob>},
    {"GET", "/api/billing", signedIn<getBilling>},
    {"POST", "/api/billing", signedIn<postBilling>},
    {"GET", "/checkout", showCheckout},
    {"POST", "/checkout", payCheckout},
    {"GET", "/api/keys", signedIn<getKeys>},
    {"POST", "/api/keys", signedIn<postKey>},
    {"DELETE", "/api/keys", signedIn<deleteKey>},
    {"GET", "/api/routes", signedIn<getRoutes>},
    {"GET", "/api/settings", signedIn<getSettings>},
    {"PUT", "/api/settings", signedIn<putSettings>},
    {"POST", "/api/transcribe", signedIn<transcribe>},
    {"POST", "/api/speech", signedIn<speech>},
    {"GET", "/api/unfurl", signedIn<unfurl>},
    {"POST", "/api/unfurl", signedIn<unfurl>},
};

bool isControlPath(const std::string& path) {
    return path == "/control" || path.starts_with("/control/");
}

/// The wait of a request that ends without a reply, told to the log.
void giveUp(Connection& connection, const char* outcome, bool reset = false) {
    connection.outcome = outcome;
    connection.drop(reset);
}

const char* endOf(Connection::Wake wake) {
    return wake == Connection::Wake::PeerLeft ? "clientLeft" : "stopped";
}

bool endsWait(Connection::Wake wake) {
    return wake == Connection::Wake::PeerLeft || wake == Connection::Wake::Stopping;
}

} // namespace

Service::Service(const Options& options, const Latch& stop)
    : options_(options), stop_(stop), state_(options) {}

std::size_t Service::bodyLimit(const std::string& path) {
    constexpr std::size_t mebibyte = 1024 * 1024;
    if (path == "/api/chat" || path == "/api/chats")
        return 16 * mebibyte;
    // The folder route itself refuses what is too large, with the document in the reply.
    if (path == "/api/files" || path == "/api/transcribe" || path == "/api/folders" || isControlPath(path))
        return 32 * mebibyte;
    return path == "/api/speech" ? mebibyte : 64 * 1024;
}

Outcome Service::answer(const HttpRequest& request, Connection& connection) {
    if (isControlPath(request.path))
        return {options_.control ? control(request, state_, stop_) : errorReply(404, "Not found"), {}};

    Outcome outcome;
    outcome.delivery.chunkDelay = options_.chunkDelay;
    if (!options_.control) {
        outcome.reply = route(request);
        return outcome;
    }

    Control::Admission admission;
    admit(request, connection, admission);
    outcome.delivery.logEntry = admission.entry;
    for (const Hold& hold : admission.holds) {
        if (hold.afterBytes)
            outcome.delivery.holds.push_back(hold);
        else if (!passHold(hold, admission.entry, connection))
            return outcome;
    }
    if (!admission.spoil) {
        outcome.reply = route(request);
        return outcome;
    }

    const Override& spoil = *admission.spoil;
    if (spoil.delay.count() > 0) {
        const auto wake = connection.wait(spoil.delay);
        if (endsWait(wake)) {
            giveUp(connection, endOf(wake));
            return outcome;
        }
    }
    const bool silent = spoil.hang || spoil.drop != Override::Drop::No;
    if (spoil.process || !(silent || spoil.replacesReply()))
        outcome.reply = route(request);
    if (spoil.hang) {
        giveUp(connection, endOf(connection.wait(std::chrono::milliseconds(-1))));
        return outcome;
    }
    if (silent) {
        giveUp(connection, "dropped", spoil.drop == Override::Drop::Reset);
        return outcome;
    }
    outcome.reply = spoil.applied(std::move(outcome.reply));
    outcome.delivery.chunkDelay = spoil.chunkDelay.value_or(options_.chunkDelay);
    outcome.delivery.truncateAfter = spoil.truncateAfter;
    return outcome;
}

void Service::setHeld(std::size_t logEntry, bool held) {
    state_.with([&](ServiceState& s) { s.control.setHeld(logEntry, held); });
}

bool Service::passHold(const Hold& hold, std::size_t logEntry, Connection& connection) {
    setHeld(logEntry, true);
    const auto wake = connection.wait(std::chrono::milliseconds(-1), hold.latch.get());
    setHeld(logEntry, false);
    if (endsWait(wake))
        giveUp(connection, endOf(wake));
    return !endsWait(wake);
}

void Service::noticeStop() {
    state_.with([](ServiceState&) {});
}

HttpReply Service::route(const HttpRequest& request) {
    HttpReply reply;
    try {
        reply = find(request);
    } catch (const DatabaseError& error) {
        std::cerr << "teskal-local-service: " << error.what() << '\n';
        reply = errorReply(500, "The service could not reach its storage.", "STORAGE");
    }
    if (request.path == "/api/folders") {
        const auto now = state_.with([](ServiceState& s) { return s.clock.nowMs(); });
        setHeader(reply.headers, "X-Teskal-Time", std::to_string(now));
    }
    return reply;
}

HttpReply Service::find(const HttpRequest& request) {
    const std::string method = request.method == "HEAD" ? "GET" : request.method;
    std::string allowed;
    for (const Route& candidate : routes) {
        if (request.path != candidate.path)
            continue;
        if (method == candidate.method)
            return candidate.handle(request, state_);
        allowed += (allowed.empty() ? "" : ", ") + std::string(candidate.method);
    }
    auto plain = plainPage(request.path);
    if (plain && method == "GET")
        return std::move(*plain);
    if (plain)
        allowed = "GET";
    if (allowed.empty())
        return errorReply(404, "Not found");
    HttpReply reply = errorReply(405, "This method is not offered here.");
    setHeader(reply.headers, "Allow", allowed);
    return reply;
}

void Service::admit(const HttpRequest& request, Connection& connection, Control::Admission& admission) {
    admission = state_.with([&](ServiceState& s) { return s.control.admit(request); });
    connection.onFinished = [this, &connection, entry = admission.entry](bool sent) {
        const std::string end = !sent && connection.outcome == "sent" ? "clientLeft" : connection.outcome;
        state_.with(
            [&](ServiceState& s) { s.control.finish(entry, connection.status, end, connection.bodyBytes); });
    };
}

} // namespace teskal::service
