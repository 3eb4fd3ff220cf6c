#pragma once

#include <QtGlobal>

/// What processes take of the machine, as the kernel counts it. Linux only. All throw std::runtime_error when
/// the process is gone.
namespace teskal::bench {

/// CPU time of all threads of a process, ended ones included, in ms.
double processCpu(qint64 process);
/// CPU time of a process's main thread in ms, exact while it waits.
double mainThreadCpu(qint64 process);
/// CPU time of the calling thread in ms.
double ownThreadCpu();
/// Memory of a process in MB, what it shares divided among those that share it.
double proportionalMemory(qint64 process);

} // namespace teskal::bench
