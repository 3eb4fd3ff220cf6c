#pragma once

#include "OAuthProvider.h"

#include <chrono>
#include <string>
#include <sys/types.h>
#include <variant>
#include <vector>

namespace teskal::service {

/// The command line, understood.
struct Options {
    int port = 0; ///< 0 takes a free one
    bool autoConsent = false;
    bool control = false;
    TokenPolicy tokens;
    std::chrono::milliseconds chunkDelay{25};
    std::chrono::seconds jobLife{8}; ///< how long a video or a song takes
    std::string stateFile;           ///< where everything is kept; empty: in memory
    pid_t parentPid = 0;             ///< 0: none to watch
};

/// Text to print instead of serving, with the status to end with.
struct Farewell {
    std::string text;
    int status = 0;
};

std::variant<Options, Farewell> parseOptions(const std::vector<std::string>& arguments);

} // namespace teskal::service
