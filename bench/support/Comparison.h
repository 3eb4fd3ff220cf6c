#pragma once

#include <QList>
#include <QString>

namespace teskal::bench {

/// One line of a benchmark's table: our time beside the time of something it is measured against.
struct Comparison {
    QString what;
    QString against;
    double againstMs = 0;
    double oursMs = 0;
    qint64 bytes = 0;    ///< the amount of data that both work on
    double maxRatio = 0; ///< what is aimed at, ours divided by the other; 0 when there is no aim
};

/// Prints the lines as a table to standard output. Returns whether every aim is met.
bool printTable(const QList<Comparison>& lines);

} // namespace teskal::bench
