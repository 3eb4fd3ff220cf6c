#include "Photo.h"

#include <algorithm>
#include <cmath>
#include <random>

namespace teskal::bench {

QImage photo() {
    constexpr int width = 4'000, height = 3'000;
    constexpr int grain = 24; // of 255
    QImage image(width, height, QImage::Format_RGB32);
    std::mt19937 random(20240501);
    const auto noisy = [&](double value) {
        return std::clamp(int(value) + int(random() % grain) - grain / 2, 0, 255);
    };
    for (int y = 0; y < height; ++y) {
        auto* const row = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = 0; x < width; ++x) {
            const double light = 128 + 60 * std::sin(x / 97.0) + 50 * std::cos(y / 61.0 + x / 300.0);
            row[x] = qRgb(noisy(light), noisy(light / 2 + 40), noisy(255 - light));
        }
    }
    return image;
}

} // namespace teskal::bench
