#include "Picture.h"

#include "Encoding.h"

#include <cmath>
#include <cstdint>
#include <stdexcept>
#include <zlib.h>

namespace teskal::service {

namespace {

constexpr int width = 480;
constexpr int height = 320;

struct Colour {
    double red, green, blue;
};

Colour mix(const Colour& a, const Colour& b, double t) {
    return {a.red + (b.red - a.red) * t, a.green + (b.green - a.green) * t, a.blue + (b.blue - a.blue) * t};
}

/// Fully saturated towards white; `hue` in turns.
Colour pastel(double hue, double depth) {
    const auto channel = [&](double shift) {
        return 255 * (1 - depth * (0.5 + 0.5 * std::cos(2 * 3.14159265358979 * (hue + shift))));
    };
    return {channel(0), channel(1.0 / 3), channel(2.0 / 3)};
}

double ridge(double x, int layer, double seed) {
    return 0.42 + 0.16 * layer + 0.05 * std::sin(6.3 * x * (1 + 0.4 * layer) + seed * 9 + layer * 2) +
           0.02 * std::sin(17 * x + layer * 5 + seed * 4);
}

Colour colourAt(double x, double y, double seed) {
    const double sunX = 0.25 + 0.5 * seed;
    const double sun = std::hypot((x - sunX) * width / height, y - 0.26);
    Colour colour = mix(pastel(seed, 0.55), pastel(seed + 0.12, 0.12), std::min(1.0, y / 0.6));
    colour = mix({255, 250, 235}, colour, std::min(1.0, std::max(0.0, (sun - 0.08) / 0.012)));
    for (int layer = 0; layer < 4; ++layer) {
        if (y > ridge(x, layer, seed))
            colour = mix(pastel(seed + 0.3, 0.45), {22, 32, 42}, 0.2 + 0.2 * layer);
    }
    return colour;
}

std::string scanlines(double seed) {
    std::string raw;
    raw.reserve(static_cast<std::size_t>(height) * (width * 3 + 1));
    for (int y = 0; y < height; ++y) {
        raw += '\0'; // filter type 0: the bytes as they are
        for (int x = 0; x < width; ++x) {
            const Colour c = colourAt(double(x) / width, double(y) / height, seed);
            for (const double channel : {c.red, c.green, c.blue})
                raw += static_cast<char>(static_cast<std::uint8_t>(std::min(255.0, std::max(0.0, channel))));
        }
    }
    return raw;
}

std::string bigEndian(std::uint32_t value) {
    return {static_cast<char>(value >> 24), static_cast<char>(value >> 16), static_cast<char>(value >> 8),
            static_cast<char>(value)};
}

std::string chunk(const std::string& type, const std::string& data) {
    const std::string body = type + data;
    const auto sum = crc32(0, reinterpret_cast<const Bytef*>(body.data()), static_cast<uInt>(body.size()));
    return bigEndian(static_cast<std::uint32_t>(data.size())) + body +
           bigEndian(static_cast<std::uint32_t>(sum));
}

std::string deflated(const std::string& raw) {
    uLongf size = compressBound(static_cast<uLong>(raw.size()));
    std::string out(size, '\0');
    if (compress(reinterpret_cast<Bytef*>(out.data()), &size, reinterpret_cast<const Bytef*>(raw.data()),
                 static_cast<uLong>(raw.size())) != Z_OK)
        throw std::runtime_error("cannot compress the picture");
    out.resize(size);
    return out;
}

} // namespace

std::string drawPicture(std::string_view prompt) {
    const double seed = static_cast<unsigned char>(sha256(prompt)[0]) / 255.0;
    // 8 bits per channel, colour type 2 (RGB), no interlace.
    const std::string header = bigEndian(width) + bigEndian(height) + std::string("\x08\x02\x00\x00\x00", 5);
    return "\x89PNG\r\n\x1a\n" + chunk("IHDR", header) + chunk("IDAT", deflated(scanlines(seed))) +
           chunk("IEND", "");
}

} // namespace teskal::service
