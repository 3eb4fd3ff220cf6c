#include "FoldedText.h"

#include <QLocale>

#include <cstring>

namespace teskal {

namespace {

bool isBlank(char byte) {
    return byte == ' ' || byte == '\t' || byte == '\r' || byte == '\n';
}

/// Leaves one line break of every run of blanks that holds one.
void shortenLineBreaks(QByteArray& text) {
    char* const begin = text.data();
    const char* const end = begin + text.size();
    char* to = begin;
    for (const char* from = begin; from < end;) {
        const void* const found = std::memchr(from, '\n', std::size_t(end - from));
        const char* const lineEnd = found ? static_cast<const char*>(found) : end;
        std::memmove(to, from, std::size_t(lineEnd - from));
        to += lineEnd - from;
        from = lineEnd;
        if (from == end)
            break;
        while (to > begin && isBlank(to[-1]))
            --to;
        while (from < end && isBlank(*from))
            ++from;
        *to++ = '\n';
    }
    text.truncate(to - begin);
}

} // namespace

QByteArray foldedText(const QString& text) {
    // Again after the change of case: some capitals become two characters.
    QByteArray folded = QLocale()
                            .toLower(text.normalized(QString::NormalizationForm_C))
                            .normalized(QString::NormalizationForm_C)
                            .toUtf8();
    shortenLineBreaks(folded);
    return folded;
}

} // namespace teskal
