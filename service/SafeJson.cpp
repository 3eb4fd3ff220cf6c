#include "SafeJson.h"

namespace teskal::service {

namespace {

bool nestsTooDeep(std::string_view text) {
    int depth = 0;
    bool inString = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (inString) {
            if (c == '\\')
                ++i;
            else if (c == '"')
                inString = false;
        } else if (c == '"') {
            inString = true;
        } else if (c == '[' || c == '{') {
            if (++depth > maxJsonDepth)
                return true;
        } else if (c == ']' || c == '}') {
            --depth;
        }
    }
    return false;
}

} // namespace

std::optional<Json> parseJson(std::string_view text) {
    // The parser would skip a byte order mark, which JSON texts do not begin with (RFC 8259 section 8.1).
    if (text.starts_with("\xEF\xBB\xBF") || nestsTooDeep(text))
        return std::nullopt;
    Json value = Json::parse(text.begin(), text.end(), nullptr, false);
    if (value.is_discarded())
        return std::nullopt;
    return value;
}

std::string jsonText(const Json& value) {
    return value.dump(-1, ' ', false, Json::error_handler_t::replace);
}

std::optional<std::string> stringMember(const Json& object, const char* name) {
    if (!object.is_object())
        return std::nullopt;
    const auto found = object.find(name);
    if (found == object.end() || !found->is_string())
        return std::nullopt;
    return found->get<std::string>();
}

} // namespace teskal::service
