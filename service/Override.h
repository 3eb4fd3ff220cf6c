#pragma once

#include "HttpValues.h"

#include <chrono>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace teskal::service {

/// Which requests something applies to. Empty members match everything.
struct RequestFilter {
    std::string path; ///< itself and everything below it
    std::string method;

    bool matches(const HttpRequest& request) const;
};

/// What to do to a coming request instead of, or on top of, answering it.
struct Override {
    enum class Drop { No, Close, Reset };

    RequestFilter filter;
    int times = 1; ///< requests it applies to
    int skip = 0;  ///< matching requests to let pass first
    std::chrono::milliseconds delay{0};
    std::optional<std::chrono::milliseconds> chunkDelay;
    std::optional<int> status;
    HeaderList headers; ///< replace the reply's headers of the same name
    std::optional<std::string> body;
    std::optional<std::string> rawStream;
    std::vector<std::size_t> chunks; ///< sizes in which `rawStream` goes out
    std::optional<std::size_t> truncateAfter;
    Drop drop = Drop::No;
    bool hang = false;
    bool process = false; ///< let the route do its work before a drop or hang

    /// True when the route itself is not asked.
    bool replacesReply() const { return status || body || rawStream; }
    /// The reply to send: the given one with the override's parts put in.
    HttpReply applied(HttpReply reply) const;
};

/// Reads an override, or says what is wrong with it. Unknown members are wrong.
std::variant<Override, std::string> readOverride(const Json& json);

} // namespace teskal::service
