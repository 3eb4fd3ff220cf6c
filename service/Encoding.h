#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace teskal::service {

/// SHA-256 of `bytes`, 32 raw bytes.
std::string sha256(std::string_view bytes);
/// Lower-case hexadecimal.
std::string hex(std::string_view bytes);
/// Standard base64 with padding (RFC 4648 section 4).
std::string base64(std::string_view bytes);
/// base64url without padding (RFC 4648 section 5).
std::string base64Url(std::string_view bytes);
/// Decodes standard, padded base64; nothing when `text` is not that.
std::optional<std::string> fromBase64(std::string_view text);
/// `count` bytes from the system's secure source, as unpadded base64url. Throws when it has none.
std::string randomText(std::size_t count);
/// Twelve characters of [a-z0-9] from the same source.
std::string randomId();

/// Percent-encodes everything but ASCII letters, digits and "-._~".
std::string percentEncode(std::string_view text);
/// Undoes percent-encoding; nothing when a "%" is not followed by two hexadecimal digits.
std::optional<std::string> percentDecode(std::string_view text);

/// True when `text` is well-formed UTF-8 (RFC 3629: no surrogates, no overlong forms).
bool isUtf8(std::string_view text);
/// Makes `text` safe inside HTML text and double-quoted attributes.
std::string escapeHtml(std::string_view text);
/// Lower-cases ASCII letters and leaves every other byte alone.
std::string lowerAscii(std::string_view text);
/// `text` without ASCII white space at both ends.
std::string_view trimmed(std::string_view text);

} // namespace teskal::service
