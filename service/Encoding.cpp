#include "Encoding.h"

#include <array>
#include <openssl/evp.h>
#include <openssl/rand.h>
#include <openssl/sha.h>
#include <stdexcept>

namespace teskal::service {

namespace {

int hexValue(char c) {
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

bool isUnreserved(char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '-' ||
           c == '.' || c == '_' || c == '~';
}

/// Length of the well-formed UTF-8 sequence at the start of `text`, 0 when there is none.
std::size_t sequenceLength(std::string_view text) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned first = byte(0);
    if (first < 0x80)
        return 1;
    const std::size_t length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
    if (first < 0xC2 || first > 0xF4 || text.size() < length)
        return 0;
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0) != 0x80)
            return 0;
    }
    const unsigned second = byte(1);
    const bool overlong = (first == 0xE0 && second < 0xA0) || (first == 0xF0 && second < 0x90);
    const bool surrogate = first == 0xED && second > 0x9F;
    const bool beyond = first == 0xF4 && second > 0x8F;
    return overlong || surrogate || beyond ? 0 : length;
}

} // namespace

std::string sha256(std::string_view bytes) {
    std::string digest(SHA256_DIGEST_LENGTH, '\0');
    SHA256(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size(),
           reinterpret_cast<unsigned char*>(digest.data()));
    return digest;
}

std::string hex(std::string_view bytes) {
    static constexpr std::string_view digits = "0123456789abcdef";
    std::string out;
    out.reserve(bytes.size() * 2);
    for (const char c : bytes) {
        const auto value = static_cast<unsigned char>(c);
        out += digits[value >> 4];
        out += digits[value & 15];
    }
    return out;
}

std::string base64(std::string_view bytes) {
    std::string out((bytes.size() + 2) / 3 * 4 + 1, '\0'); // the encoder ends with a zero byte
    const int length =
        EVP_EncodeBlock(reinterpret_cast<unsigned char*>(out.data()),
                        reinterpret_cast<const unsigned char*>(bytes.data()), static_cast<int>(bytes.size()));
    out.resize(static_cast<std::size_t>(length));
    return out;
}

std::string base64Url(std::string_view bytes) {
    std::string out = base64(bytes);
    while (!out.empty() && out.back() == '=')
        out.pop_back();
    for (char& c : out) {
        if (c == '+')
            c = '-';
        else if (c == '/')
            c = '_';
    }
    return out;
}

std::optional<std::string> fromBase64(std::string_view text) {
    if (text.size() % 4 != 0)
        return std::nullopt;
    if (text.empty())
        return std::string{};
    std::string out(text.size() / 4 * 3, '\0');
    const int length =
        EVP_DecodeBlock(reinterpret_cast<unsigned char*>(out.data()),
                        reinterpret_cast<const unsigned char*>(text.data()), static_cast<int>(text.size()));
    if (length < 0)
        return std::nullopt;
    const std::size_t padding = text.ends_with("==") ? 2 : text.ends_with("=") ? 1 : 0;
    out.resize(static_cast<std::size_t>(length) - padding);
    return out;
}

std::string randomText(std::size_t count) {
    std::string bytes(count, '\0');
    if (RAND_bytes(reinterpret_cast<unsigned char*>(bytes.data()), static_cast<int>(count)) != 1)
        throw std::runtime_error("no secure random bytes");
    return base64Url(bytes);
}

std::string randomId() {
    static constexpr std::string_view letters = "abcdefghijklmnopqrstuvwxyz0123456789";
    constexpr std::size_t length = 12;
    std::string id;
    while (id.size() < length) {
        std::array<unsigned char, 2 * length> bytes;
        if (RAND_bytes(bytes.data(), static_cast<int>(bytes.size())) != 1)
            throw std::runtime_error("no secure random bytes");
        for (const unsigned char byte : bytes) {
            if (byte < 252 && id.size() < length) // the largest multiple of 36, so that no letter is favoured
                id += letters[byte % letters.size()];
        }
    }
    return id;
}

std::string percentEncode(std::string_view text) {
    static constexpr std::string_view digits = "0123456789ABCDEF";
    std::string out;
    out.reserve(text.size());
    for (const char c : text) {
        if (isUnreserved(c)) {
            out += c;
            continue;
        }
        const auto value = static_cast<unsigned char>(c);
        out += '%';
        out += digits[value >> 4];
        out += digits[value & 15];
    }
    return out;
}

std::optional<std::string> percentDecode(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '%') {
            out += text[i];
            continue;
        }
        if (i + 2 >= text.size())
            return std::nullopt;
        const int high = hexValue(text[i + 1]);
        const int low = hexValue(text[i + 2]);
        if (high < 0 || low < 0)
            return std::nullopt;
        out += static_cast<char>(high * 16 + low);
        i += 2;
    }
    return out;
}

bool isUtf8(std::string_view text) {
    while (!text.empty()) {
        const std::size_t length = sequenceLength(text);
        if (length == 0)
            return false;
        text.remove_prefix(length);
    }
    return true;
}

std::string escapeHtml(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    for (const char c : text) {
        switch (c) {
        case '&':
            out += "&amp;";
            break;
        case '<':
            out += "&lt;";
            break;
        case '>':
            out += "&gt;";
            break;
        case '"':
            out += "&quot;";
            break;
        case '\'':
            out += "&#39;";
            break;
        default:
            out += c;
        }
    }
    return out;
}

std::string lowerAscii(std::string_view text) {
    std::string out(text);
    for (char& c : out) {
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c - 'A' + 'a');
    }
    return out;
}

std::string_view trimmed(std::string_view text) {
    static constexpr std::string_view space = " \t\r\n\f\v";
    const auto first = text.find_first_not_of(space);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(space) - first + 1);
}

} // namespace teskal::service
