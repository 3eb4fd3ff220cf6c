#include "CanonicalJson.h"

#include "SafeJson.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace teskal::service {

namespace {

/// Makes lead bytes compare as UTF-16 does: characters beyond U+FFFF are written with surrogates there, which
/// come before U+E000 to U+FFFF (lead bytes 0xEE and 0xEF).
int utf16Rank(char c) {
    const int byte = static_cast<unsigned char>(c);
    if (byte >= 0xF0)
        return byte - 2;
    return byte >= 0xEE ? byte + 0x10 : byte;
}

} // namespace

std::string numberText(double number) {
    if (number == 0)
        return "0"; // also for minus zero
    std::array<char, 40> buffer;
    // The shortest digits that read back as the same number: d.ddde±xx
    const auto written =
        std::to_chars(buffer.data(), buffer.data() + buffer.size(), number, std::chars_format::scientific);
    const std::string_view text(buffer.data(), static_cast<std::size_t>(written.ptr - buffer.data()));
    const std::size_t e = text.find('e');
    int exponent = 0;
    const std::size_t exponentBegin = e + (text[e + 1] == '+' ? 2 : 1);
    std::from_chars(text.data() + exponentBegin, text.data() + text.size(), exponent);

    std::string digits;
    std::copy_if(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(e), std::back_inserter(digits),
                 [](char c) { return c >= '0' && c <= '9'; });
    const std::string sign = number < 0 ? "-" : "";
    const int count = static_cast<int>(digits.size());
    const int point = exponent + 1; // digits before the decimal point, as n in ECMAScript's Number::toString
    if (point >= count && point <= 21)
        return sign + digits + std::string(static_cast<std::size_t>(point - count), '0');
    if (point > 0 && point <= 21)
        return sign + digits.insert(static_cast<std::size_t>(point), 1, '.');
    if (point > -6 && point <= 0)
        return sign + "0." + std::string(static_cast<std::size_t>(-point), '0') + digits;
    if (count > 1)
        digits.insert(1, 1, '.');
    return sign + digits + (exponent < 0 ? "e-" : "e+") + std::to_string(std::abs(exponent));
}

std::string stringText(const std::string& text) {
    return jsonText(Json(text));
}

std::size_t utf16Length(std::string_view text) {
    std::size_t length = 0;
    for (const char c : text) {
        const int byte = static_cast<unsigned char>(c);
        const bool continues = (byte & 0xC0) == 0x80;
        length += continues ? 0 : byte >= 0xF0 ? 2 : 1;
    }
    return length;
}

bool lessUtf16(std::string_view a, std::string_view b) {
    return std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end(),
                                        [](char x, char y) { return utf16Rank(x) < utf16Rank(y); });
}

} // namespace teskal::service
