#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace teskal::service {

/// A finite number as ECMAScript's Number-to-text writes it (RFC 8785 section 3.2.2.3).
std::string numberText(double number);
/// A JSON string with the fewest escapes (RFC 8785 section 3.2.2.2). Bytes that are not UTF-8 become U+FFFD.
std::string stringText(const std::string& text);

/// How many UTF-16 code units the UTF-8 `text` takes.
std::size_t utf16Length(std::string_view text);

/// True when `a` comes before `b` by UTF-16 code units, the order that RFC 8785 section 3.2.3 sorts by. Both
/// are UTF-8.
bool lessUtf16(std::string_view a, std::string_view b);

} // namespace teskal::service
