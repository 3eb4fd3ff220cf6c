#include "ProseWords.h"

#include <QTextBoundaryFinder>

#include <algorithm>

namespace teskal {

namespace {

/// Letters which tell that what is written without a space is no plain word.
bool isTechnical(QChar letter) {
    return letter == QLatin1Char('@') || letter == QLatin1Char('/') || letter == QLatin1Char('\\') ||
           letter == QLatin1Char('_') || letter == QLatin1Char('=') || letter == QLatin1Char('<') ||
           letter == QLatin1Char('>') || letter == QLatin1Char('#') || letter == QLatin1Char('$') ||
           letter == QLatin1Char('{') || letter == QLatin1Char('}');
}

bool isWithin(QStringView piece, qsizetype place) {
    return place > 0 && place + 1 < piece.size() && piece.at(place - 1).isLetterOrNumber() &&
           piece.at(place + 1).isLetterOrNumber();
}

/// Of what stands between two spaces.
bool isPlain(QStringView piece) {
    for (qsizetype place = 0; place < piece.size(); ++place) {
        const QChar letter = piece.at(place);
        const bool joins = letter == QLatin1Char('.') || letter == QLatin1Char(':');
        if (isTechnical(letter) || (joins && isWithin(piece, place)))
            return false;
    }
    // A call, or an option of a command.
    return !piece.contains(QLatin1String("()")) && !piece.startsWith(QLatin1String("--"));
}

/// Neither "UTF8" nor "NASA" nor "camelCase".
bool isWord(QStringView word) {
    const auto isLower = [](QChar letter) { return !letter.isUpper() && !letter.isDigit(); };
    return word.size() > 1 && word.at(0).isLetter() && std::all_of(word.begin() + 1, word.end(), isLower);
}

void addWords(QList<WordRange>& words, const QString& line, int from, int to) {
    const QStringView piece = QStringView(line).mid(from, to - from);
    if (!isPlain(piece))
        return;
    QTextBoundaryFinder finder(QTextBoundaryFinder::Word, piece.data(), piece.size());
    for (qsizetype start = 0, end = finder.toNextBoundary(); end > start; end = finder.toNextBoundary()) {
        if (isWord(piece.mid(start, end - start)))
            words.append({from + int(start), int(end - start)});
        start = end;
    }
}

} // namespace

QList<WordRange> proseWords(const QString& line) {
    QList<WordRange> words;
    const int size = int(line.size());
    int start = 0;
    const auto close = [&](int end) {
        if (end > start)
            addWords(words, line, start, end);
        start = end + 1;
    };
    for (int place = 0; place < size; ++place) {
        if (line.at(place).isSpace()) {
            close(place);
        } else if (line.at(place) == QLatin1Char('`')) {
            close(place);
            const auto end = line.indexOf(QLatin1Char('`'), place + 1);
            place = end < 0 ? size : int(end); // what is not closed yet is code, too
            start = place + 1;
        }
    }
    close(size);
    return words;
}

} // namespace teskal
