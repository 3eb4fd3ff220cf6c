#include "SpellMarks.h"

#include "SpellChecker.h"

#include <QPainter>
#include <QPainterPath>
#include <QTextBlock>
#include <QTextLayout>

#include <algorithm>

namespace teskal {

namespace {

constexpr double waveHeight = 1.5; ///< pixels, as all of these
constexpr double waveStep = 2;
constexpr double waveWidth = 1;
constexpr double waveDrop = 2.5; ///< below the letters' line
/// How far above a block the beginning of its code is looked for.
constexpr int fenceReach = 400;

/// The words of a block as it was when they were looked for.
struct BlockWords final : QTextBlockUserData {
    QString text;
    QList<WordRange> words;
};

QList<WordRange> wordsOf(QTextBlock block) {
    auto* known = dynamic_cast<BlockWords*>(block.userData());
    if (!known) {
        known = new BlockWords;
        block.setUserData(known);
    }
    if (QString text = block.text(); text != known->text) {
        known->words = proseWords(text);
        known->text = std::move(text);
    }
    return known->words;
}

/// Whether code begins or ends with \a block. Looks at no more letters than it needs, for many blocks are
/// asked.
bool isFence(const QTextBlock& block) {
    const QTextDocument& document = *block.document();
    const int start = block.position();
    const QChar letter = document.characterAt(start);
    return (letter == QLatin1Char('`') || letter == QLatin1Char('~')) &&
           document.characterAt(start + 1) == letter && document.characterAt(start + 2) == letter;
}

bool isAfterCodeBegan(const QTextBlock& block) {
    bool inside = false;
    QTextBlock above = block.previous();
    for (int reach = 0; above.isValid() && reach < fenceReach; ++reach, above = above.previous())
        inside = inside != isFence(above);
    return inside;
}

QPainterPath wave(double left, double right, double middle) {
    QPainterPath path(QPointF(left, middle));
    bool isUp = true;
    for (double x = left + waveStep; x < right; x += waveStep, isUp = !isUp)
        path.lineTo(x, isUp ? middle - waveHeight / 2 : middle + waveHeight / 2);
    return path;
}

} // namespace

void SpellMarks::setChecker(SpellChecker& checker) {
    checker_ = &checker;
}

SpellChecker* SpellMarks::checker() const {
    return checker_;
}

QList<WordRange> SpellMarks::markedIn(const QTextBlock& block) {
    QList<WordRange> marked;
    const QString text = block.text();
    const int writing = writing_ - block.position();
    for (const WordRange& word : wordsOf(block)) {
        const bool isWritten = writing >= word.start && writing <= word.start + word.length;
        if (!isWritten && checker_->isMisspelt(text.mid(word.start, word.length)))
            marked.append(word);
    }
    return marked;
}

void SpellMarks::paint(QPainter& painter, const QTextBlock& block, const QPointF& origin,
                       const QColor& colour) {
    if (!checker_)
        return;
    if (!inCode_)
        inCode_ = isAfterCodeBegan(block);
    const bool fence = isFence(block);
    const QList<WordRange> marked = fence || *inCode_ ? QList<WordRange>() : markedIn(block);
    inCode_ = *inCode_ != fence;
    if (marked.isEmpty())
        return;
    const QTextLayout& layout = *block.layout();
    const int composed = layout.preeditAreaPosition(); // what is being composed takes places of its own
    const int composedLength = int(layout.preeditAreaText().size());
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(colour, waveWidth));
    for (const WordRange& word : marked) {
        const int shift = composedLength > 0 && word.start >= composed ? composedLength : 0;
        const int from = word.start + shift;
        const int to = from + word.length;
        if (composedLength > 0 && from < composed && to > composed)
            continue; // it is becoming another word
        for (int number = layout.lineForTextPosition(from).lineNumber(); number < layout.lineCount();
             ++number) {
            const QTextLine line = layout.lineAt(number);
            if (line.textStart() >= to)
                break;
            const double one = line.cursorToX(std::max(from, line.textStart()));
            const double other = line.cursorToX(std::min(to, line.textStart() + line.textLength()));
            painter.drawPath(wave(origin.x() + std::min(one, other), origin.x() + std::max(one, other),
                                  origin.y() + line.y() + line.ascent() + waveDrop));
        }
    }
    painter.restore();
}

QTextCursor SpellMarks::markedAt(QTextDocument& document, int position) {
    const QTextBlock block = document.findBlock(position);
    if (!checker_ || isFence(block) || isAfterCodeBegan(block))
        return {};
    const int place = position - block.position();
    for (const WordRange& word : markedIn(block)) {
        if (place < word.start || place > word.start + word.length)
            continue;
        QTextCursor cursor(&document);
        cursor.setPosition(block.position() + word.start);
        cursor.setPosition(block.position() + word.start + word.length, QTextCursor::KeepAnchor);
        return cursor;
    }
    return {};
}

} // namespace teskal
