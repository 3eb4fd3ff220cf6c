#pragma once

#include <QList>
#include <QString>

#include <optional>

namespace teskal::bench {

/// One line of a table: what we measured, beside what it is held against, and what is aimed at. A line
/// without any aim is there to be read.
struct Claim {
    QString what;
    QString unit;
    double ours = 0;
    QString against = {}; ///< name of the floor
    std::optional<double> floor = {};
    std::optional<double> maxValue = {};      ///< aim: ours at most this
    std::optional<double> maxRatio = {};      ///< aim: ours divided by the floor at most this
    std::optional<double> maxDifference = {}; ///< aim: ours less the floor at most this

    bool hasAim() const { return maxValue || maxRatio || maxDifference; }
    bool held() const;
};

/// Prints the lines as one table under \a title.
void printClaims(const QString& title, const QList<Claim>& claims);

} // namespace teskal::bench
