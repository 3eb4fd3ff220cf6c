#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>

namespace teskal::service {

using Json = nlohmann::json;

/// Deepest nesting of arrays and objects that is read. Far above what any request needs.
inline constexpr int maxJsonDepth = 64;

/// Reads JSON from an untrusted sender. Nothing when it is malformed, not UTF-8, begins with a byte order
/// mark, holds a number out of range or nests deeper than `maxJsonDepth`. The depth is measured before
/// anything is built.
std::optional<Json> parseJson(std::string_view text);
/// Writes JSON without white space; bytes that are not UTF-8 become U+FFFD.
std::string jsonText(const Json& value);
/// The string member `name` of an object, nothing when it is absent or of another type.
std::optional<std::string> stringMember(const Json& object, const char* name);

} // namespace teskal::service
