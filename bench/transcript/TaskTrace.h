#pragma once

#include "BareView.h"

#include <vector>

namespace teskal::bench {

/// One task of a page's main thread, in ms; `cpu` leaves out what other threads were given in between.
struct PageTaskTime {
    double begin = 0;
    double wall = 0;
    double cpu = 0;
};

/// Opens a debugging port on the loopback for the engine of this process. Before the application object is
/// made.
void openDebuggingPort();

/// Records the tasks of another page of this process through the engine's debugging protocol.
class TaskTrace {
public:
    /// Begins with the page at \a address. Throws std::runtime_error when the engine refuses.
    explicit TaskTrace(const QUrl& address);

    struct Record {
        std::vector<PageTaskTime> tasks;
        double painted = 0; ///< when the driver saw its paint
    };
    /// Ends the recording of the main thread of \a process.
    Record stop(qint64 process);

private:
    BareView view_;
};

} // namespace teskal::bench
