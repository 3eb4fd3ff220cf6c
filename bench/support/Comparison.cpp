#include "Comparison.h"

#include <cstdio>

namespace teskal::bench {

namespace {

const char* verdict(const Comparison& line) {
    if (line.maxRatio == 0)
        return "";
    return line.oursMs <= line.maxRatio * line.againstMs ? "met" : "MISSED";
}

void printLine(const Comparison& line) {
    const double megabytes = double(line.bytes) / 1e6;
    std::printf("%-38s %-36s %9.1f %9.1f %7.2f %8.1f %8.0f", qPrintable(line.what), qPrintable(line.against),
                line.againstMs, line.oursMs, line.oursMs / line.againstMs, megabytes,
                megabytes / line.oursMs * 1000);
    if (line.maxRatio > 0)
        std::printf("   <= %.2f %s", line.maxRatio, verdict(line));
    std::printf("\n");
}

} // namespace

bool printTable(const QList<Comparison>& lines) {
    std::printf("%-38s %-36s %9s %9s %7s %8s %8s   %s\n", "what", "against", "floor ms", "ours ms", "ratio",
                "MB", "MB/s", "aim");
    bool met = true;
    for (const Comparison& line : lines) {
        printLine(line);
        met = met && (line.maxRatio == 0 || line.oursMs <= line.maxRatio * line.againstMs);
    }
    std::fflush(stdout);
    return met;
}

} // namespace teskal::bench
