#include "JsonSlice.h"

#include "SafeJson.h"

#include <algorithm>

namespace teskal::service {

namespace {

constexpr std::string_view space = " \t\r\n";

std::size_t skipSpace(std::string_view text, std::size_t at) {
    return std::min(text.find_first_not_of(space, at), text.size());
}

/// One past the closing quote of the string that begins at `at`.
std::size_t endOfString(std::string_view text, std::size_t at) {
    for (++at; at < text.size() && text[at] != '"'; ++at) {
        if (text[at] == '\\')
            ++at;
    }
    return std::min(at + 1, text.size());
}

/// One past the value that begins at `at`.
std::size_t endOfValue(std::string_view text, std::size_t at) {
    int depth = 0;
    while (at < text.size()) {
        const char c = text[at];
        if (c == '"') {
            at = endOfString(text, at);
            continue;
        }
        if (depth == 0 && (c == ',' || c == '}' || c == ']'))
            return at;
        depth += c == '{' || c == '[' ? 1 : c == '}' || c == ']' ? -1 : 0;
        ++at;
    }
    return at;
}

} // namespace

std::optional<std::string_view> memberText(std::string_view object, std::string_view name) {
    std::optional<std::string_view> found;
    std::size_t at = skipSpace(object, 0);
    if (at == object.size() || object[at] != '{')
        return found;
    at = skipSpace(object, at + 1);
    while (at < object.size() && object[at] == '"') {
        const std::size_t nameEnd = endOfString(object, at);
        const auto key = parseJson(object.substr(at, nameEnd - at));
        const std::size_t begin = skipSpace(object, skipSpace(object, nameEnd) + 1); // past the colon
        const std::size_t end = endOfValue(object, begin);
        if (key && *key == name) {
            const std::string_view value = object.substr(begin, end - begin);
            found = value.substr(0, value.find_last_not_of(space) + 1);
        }
        at = skipSpace(object, end);
        if (at < object.size() && object[at] == ',')
            at = skipSpace(object, at + 1);
    }
    return found;
}

} // namespace teskal::service
