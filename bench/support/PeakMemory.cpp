#include "PeakMemory.h"

#include <QByteArray>
#include <QFile>

namespace teskal::bench {

namespace {

/// A line of /proc/self/status that is given in kB, as bytes.
qint64 statusBytes(const QByteArray& name) {
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    const QList<QByteArray> lines = status.readAll().split('\n');
    for (const QByteArray& line : lines) {
        if (line.startsWith(name + ':'))
            return line.mid(name.size() + 1).simplified().split(' ').first().toLongLong() * 1024;
    }
    return 0;
}

} // namespace

PeakMemory::PeakMemory() {
    // proc(5): writing 5 sets the peak (VmHWM) back to what is resident now.
    QFile reset(QStringLiteral("/proc/self/clear_refs"));
    if (reset.open(QIODevice::WriteOnly))
        reset.write("5");
    reset.close();
    before_ = statusBytes("VmRSS");
}

qint64 PeakMemory::growth() const {
    return statusBytes("VmHWM") - before_;
}

} // namespace teskal::bench
