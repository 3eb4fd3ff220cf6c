#pragma once

#include <QString>

#include <functional>

namespace teskal::bench {

/// What a benchmark's main does: runs \a measure with the folder for its files (the first argument, else the
/// system's temporary one) and returns its status; an exception is printed and gives 2. Called as
/// "--peak PATH", as measurePeak does, it runs \a printPeak with that path instead.
int benchMain(int argc, char** argv, const std::function<int(const QString&)>& measure,
              const std::function<int(const QString&)>& printPeak = nullptr);

/// What \a printPeak of this program prints for \a path, in bytes, in a process of its own, in which no freed
/// memory lies around to be used again. Throws std::runtime_error.
qint64 measurePeak(const QString& path);

} // namespace teskal::bench
