#pragma once

#include <QtGlobal>

#include <random>

namespace teskal::test {

/// The choices of a schedule: the same ones for the same seed, whatever the standard library.
class Chance {
public:
    explicit Chance(quint32 seed) : random_(seed) {}

    /// From 0 to below \a limit, which must be positive.
    int below(int limit) { return int(random_() % quint32(limit)); }
    bool oneIn(int count) { return below(count) == 0; }

private:
    std::mt19937 random_;
};

} // namespace teskal::test
