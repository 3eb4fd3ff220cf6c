#pragma once

#include <QList>

namespace teskal::bench {

/// Identifiers of the processes that this one has started, and those that they have started, the local
/// service excluded: for a program with a web engine, the engine's. Linux only.
QList<qint64> helperProcesses();

} // namespace teskal::bench
