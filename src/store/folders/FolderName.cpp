#include "FolderName.h"

#include <QTextBoundaryFinder>

namespace teskal {

namespace {

constexpr int maxCharacters = 60;
/// UTF-16 code units; one character may be built of any number of them, and a name has to stay small.
constexpr qsizetype maxUnits = 1024;

/// Without halves of surrogate pairs, which could not be written to a file or sent.
QString wellFormed(const QString& text) {
    return QString::fromUtf8(text.toUtf8());
}

/// The end of the last character that begins and ends within the limits; 0 when the first one is longer.
qsizetype cutPosition(const QString& text) {
    // One code unit more than the limit shows whether a character ends at the limit.
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text.left(maxUnits + 1));
    qsizetype end = 0;
    for (int count = 0; count < maxCharacters; ++count) {
        const qsizetype next = finder.toNextBoundary();
        if (next < 0 || next > maxUnits)
            break;
        end = next;
    }
    return end;
}

} // namespace

QString cleanFolderName(const QString& typed) {
    const QString name = wellFormed(typed.trimmed());
    const qsizetype end = cutPosition(name);
    return end > 0 ? name.left(end) : wellFormed(name.left(maxUnits));
}

} // namespace teskal
