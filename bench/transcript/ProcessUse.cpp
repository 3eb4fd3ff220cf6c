#include "ProcessUse.h"

#include <QFile>

#include <ctime>
#include <stdexcept>

namespace teskal::bench {

namespace {

double timeOf(clockid_t clock) {
    timespec time{};
    if (clock_gettime(clock, &time) != 0)
        throw std::runtime_error("could not read a CPU clock");
    return double(time.tv_sec) * 1e3 + double(time.tv_nsec) / 1e6;
}

QByteArray contentOf(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        throw std::runtime_error("could not read " + path.toStdString());
    return file.readAll();
}

} // namespace

double processCpu(qint64 process) {
    clockid_t clock{};
    if (clock_getcpuclockid(pid_t(process), &clock) != 0)
        throw std::runtime_error("a measured process ended");
    return timeOf(clock);
}

double mainThreadCpu(qint64 process) {
    // The first number: nanoseconds on a processor.
    const QByteArray times = contentOf(QStringLiteral("/proc/%1/task/%1/schedstat").arg(process));
    return times.left(times.indexOf(' ')).toDouble() / 1e6;
}

double ownThreadCpu() {
    return timeOf(CLOCK_THREAD_CPUTIME_ID);
}

double proportionalMemory(qint64 process) {
    const QByteArray rollup = contentOf(QStringLiteral("/proc/%1/smaps_rollup").arg(process));
    const qsizetype at = rollup.indexOf("\nPss:");
    if (at < 0)
        throw std::runtime_error("the kernel does not tell a process's proportional memory");
    const qsizetype end = rollup.indexOf("kB", at);
    return rollup.mid(at + 5, end - at - 5).trimmed().toDouble() * 1024 / 1e6;
}

} // namespace teskal::bench
