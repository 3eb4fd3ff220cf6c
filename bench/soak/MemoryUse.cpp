#include "MemoryUse.h"

#include "Measure.h"
#include "ProcessTree.h"

#include <QFile>

#include <malloc.h>
#include <numeric>
#include <stdexcept>

namespace teskal::bench {

namespace {

/// A figure of /proc/<process>/smaps_rollup, in bytes.
double figure(const QString& process, const char* name) {
    QFile file(QStringLiteral("/proc/%1/smaps_rollup").arg(process));
    if (!file.open(QIODevice::ReadOnly))
        throw std::runtime_error("a measured process ended");
    const QByteArray rollup = file.readAll();
    const QByteArray key = '\n' + QByteArray(name) + ':';
    const qsizetype begin = rollup.indexOf(key) + key.size();
    const qsizetype end = rollup.indexOf("kB", begin);
    return rollup.mid(begin, end - begin).trimmed().toDouble() * 1024;
}

} // namespace

MemoryUse memoryUse() {
    releaseFreeMemory();
    const struct mallinfo2 heap = mallinfo2();
    MemoryUse use{double(heap.uordblks) + double(heap.hblkhd), figure(QStringLiteral("self"), "Rss"), 0};
    for (const qint64 helper : helperProcesses())
        use.engine += figure(QString::number(helper), "Pss");
    return use;
}

double growthPerAnswer(const std::vector<double>& values, int step) {
    const double count = double(values.size());
    const double meanValue = std::accumulate(values.begin(), values.end(), 0.0) / count;
    const double meanPlace = (count - 1) / 2;
    double both = 0;
    double places = 0;
    for (std::size_t i = 0; i < values.size(); ++i) {
        both += (double(i) - meanPlace) * (values[i] - meanValue);
        places += (double(i) - meanPlace) * (double(i) - meanPlace);
    }
    return both / places / step;
}

} // namespace teskal::bench
