#pragma once

#include <algorithm>
#include <vector>

namespace teskal::bench {

/// The value below which \a share of \a values lie; there must be one at least.
inline double quantile(std::vector<double> values, double share) {
    std::sort(values.begin(), values.end());
    return values[std::min(values.size() - 1, std::size_t(double(values.size()) * share))];
}

} // namespace teskal::bench
