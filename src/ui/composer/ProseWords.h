#pragma once

#include <QList>
#include <QString>

namespace teskal {

/// A word's place in a line.
struct WordRange {
    int start = 0;
    int length = 0;
};

/// The words of \a line that are written to be read: no code between backticks, addresses, names of files or
/// of things in programs, nothing with figures in it, no abbreviations in capitals.
QList<WordRange> proseWords(const QString& line);

} // namespace teskal
