#pragma once

#include <QtGlobal>

namespace teskal::bench {

/// Follows how much memory the process holds at most. Linux only; elsewhere the growth is 0.
class PeakMemory {
public:
    /// Starts from what is resident now.
    PeakMemory();

    /// Bytes by which the peak since then exceeds what was resident at the start, mapped files included.
    qint64 growth() const;

private:
    qint64 before_;
};

} // namespace teskal::bench
