#include "Loudness.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace teskal {

double decibels(const QList<float>& samples) {
    double power = 0;
    for (const float sample : samples)
        power += double(sample) * double(sample);
    if (power <= 0)
        return -std::numeric_limits<double>::infinity();
    return 10 * std::log10(power / double(samples.size()));
}

float meterLevel(double decibels) {
    constexpr double range = 50;
    return float(std::clamp((decibels + range) / range, 0.0, 1.0));
}

} // namespace teskal
