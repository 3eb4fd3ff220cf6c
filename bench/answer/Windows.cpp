#include "Windows.h"

#include "ProcessTree.h"
#include "ProcessUse.h"

#include <QCoreApplication>

#include <chrono>
#include <stdexcept>

namespace teskal::bench {

namespace {

double nowMs() {
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

} // namespace

Cpu cpuUntilNow() {
    Cpu cpu{ownThreadCpu(), processCpu(QCoreApplication::applicationPid()), 0};
    for (const qint64 helper : helperProcesses())
        cpu.engine += processCpu(helper);
    return cpu;
}

Cpu perUpdate(const Cpu& begin, const Cpu& end, int updates) {
    return {(end.mainThread - begin.mainThread) / updates, (end.process - begin.process) / updates,
            (end.engine - begin.engine) / updates};
}

Windows::Windows(const PacedAnswer& answer) {
    for (const PacedAnswer::Window& window : answer.windows())
        samples_.emplace_back().window = window;
}

void Windows::update(qsizetype length) {
    for (Sample& sample : samples_) {
        if (sample.over || length < sample.window.begin)
            continue;
        // Only the ends are measured: looking at all processes costs something itself.
        if (++sample.updates == 0) {
            sample.beginCpu = cpuUntilNow();
            sample.beginMs = nowMs();
        }
        if (length >= sample.window.end) {
            sample.endCpu = cpuUntilNow();
            sample.endMs = nowMs();
            sample.over = true;
        }
    }
}

std::vector<Windows::Result> Windows::results() const {
    std::vector<Result> results;
    for (const Sample& sample : samples_) {
        if (!sample.over || sample.updates < PacedAnswer::updates / 4)
            throw std::runtime_error("the answer came in too few updates");
        results.push_back({perUpdate(sample.beginCpu, sample.endCpu, sample.updates),
                           1000 * sample.updates / (sample.endMs - sample.beginMs)});
    }
    return results;
}

} // namespace teskal::bench
