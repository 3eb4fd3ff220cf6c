#pragma once

#include "PacedAnswer.h"

#include <vector>

namespace teskal::bench {

/// CPU time in ms.
struct Cpu {
    double mainThread = 0; ///< of this process
    double process = 0;    ///< this process, its main thread included
    double engine = 0;     ///< the engine's other processes

    double all() const { return process + engine; }
};

/// What was used until now.
Cpu cpuUntilNow();
Cpu perUpdate(const Cpu& begin, const Cpu& end, int updates);

/// Counts updates of a growing answer, and what the application used for them, inside its windows.
class Windows {
public:
    explicit Windows(const PacedAnswer& answer);

    /// The answer has grown to \a length, in UTF-16 units.
    void update(qsizetype length);

    struct Result {
        Cpu cpu;         ///< for an update
        double rate = 0; ///< updates a second
    };
    /// Throws std::runtime_error when the answer did not come in enough updates.
    std::vector<Result> results() const;

private:
    struct Sample {
        PacedAnswer::Window window;
        int updates = -1; ///< none before the first inside the window, from which on they count
        Cpu beginCpu;
        double beginMs = 0;
        Cpu endCpu; ///< at the last update
        double endMs = 0;
        bool over = false;
    };

    std::vector<Sample> samples_;
};

} // namespace teskal::bench
