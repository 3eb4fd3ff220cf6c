#include "Options.h"

#include <charconv>

namespace teskal::service {

namespace {

constexpr const char* helpText =
    R"(Usage: teskal-local-service [options]

An identity provider and chat service for Teskal on 127.0.0.1. The first line it prints is
"listening on http://127.0.0.1:PORT".

  --port N                  port to listen on; 0 takes a free one (default 0)
  --auto-consent            sign in at once, without the consent page
  --access-token-seconds N  life of an access token (default 3600)
  --refresh-tokens HOW      what a refresh hands out: rotate (default), omit, keep, none
  --chunk-delay-ms N        pause between the chunks of an answer (default 25)
  --job-seconds N           how long a video or a song takes (default 8)
  --state FILE              keep everything in this file, made when it is not there (default: in memory)
  --control                 offer /control, which lets tests look inside and spoil replies
  --parent-pid N            end when that process ends
  --help                    show this text
  --version                 show the version
)";

template<typename T>
bool readNumber(const std::string& text, T low, T high, T& out) {
    T value{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc{} || end != text.data() + text.size() || value < low || value > high)
        return false;
    out = value;
    return true;
}

/// Applies one option that takes a value. False when the value does not serve.
bool applyValue(Options& options, const std::string& name, const std::string& value) {
    long number = 0;
    if (name == "--port")
        return readNumber(value, 0, 65535, options.port);
    if (name == "--parent-pid")
        return readNumber<pid_t>(value, 1, 1 << 30, options.parentPid);
    if (name == "--state") {
        options.stateFile = value;
        return !value.empty();
    }
    if (name == "--refresh-tokens") {
        const auto policy = refreshPolicyFrom(value);
        options.tokens.refresh = policy.value_or(options.tokens.refresh);
        return policy.has_value();
    }
    if (!readNumber(value, 0L, 100'000'000L, number))
        return false;
    if (name == "--access-token-seconds")
        options.tokens.accessTokenLife = std::chrono::seconds(number);
    else if (name == "--job-seconds")
        options.jobLife = std::chrono::seconds(number);
    else
        options.chunkDelay = std::chrono::milliseconds(number);
    return true;
}

bool takesValue(const std::string& name) {
    return name == "--port" || name == "--parent-pid" || name == "--refresh-tokens" ||
           name == "--access-token-seconds" || name == "--chunk-delay-ms" || name == "--job-seconds" ||
           name == "--state";
}

Farewell complaint(const std::string& text) {
    return {"teskal-local-service: " + text + " (see --help)\n", 2};
}

} // namespace

std::variant<Options, Farewell> parseOptions(const std::vector<std::string>& arguments) {
    Options options;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        std::string name = arguments[i];
        if (name == "--help")
            return Farewell{helpText, 0};
        if (name == "--version")
            return Farewell{"teskal-local-service " TESKAL_SERVICE_VERSION "\n", 0};
        if (name == "--auto-consent") {
            options.autoConsent = true;
            continue;
        }
        if (name == "--control") {
            options.control = true;
            continue;
        }
        std::optional<std::string> value;
        if (const auto equals = name.find('='); equals != std::string::npos) {
            value = name.substr(equals + 1);
            name.resize(equals);
        }
        if (!takesValue(name))
            return complaint("unknown option '" + arguments[i] + "'");
        if (!value && ++i == arguments.size())
            return complaint("'" + name + "' needs a value");
        if (!value)
            value = arguments[i];
        if (!applyValue(options, name, *value))
            return complaint("'" + *value + "' is not a value for '" + name + "'");
    }
    return options;
}

} // namespace teskal::service
