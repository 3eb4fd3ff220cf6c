#pragma once

#include "ProseWords.h"

#include <QColor>
#include <QPointer>
#include <QTextCursor>

#include <optional>

class QPainter;
class QTextBlock;

namespace teskal {

class SpellChecker;

/// Marks the misspelt words of what is painted. They are painted over the text and are no part of it, so that
/// neither its layout nor its history knows of them.
class SpellMarks {
public:
    /// Marks nothing before it has a checker, and when that is gone.
    void setChecker(SpellChecker& checker);
    [[nodiscard]] SpellChecker* checker() const;

    /// The word at \a position of the document is being written; it is not judged yet. -1 for none.
    void setWriting(int position) { writing_ = position; }
    [[nodiscard]] int writing() const { return writing_; }

    /// To be called before the blocks of a picture are painted, from the first to the last.
    void beginPainting() { inCode_.reset(); }
    /// Paints the marks of \a block, whose layout is painted at \a origin.
    void paint(QPainter& painter, const QTextBlock& block, const QPointF& origin, const QColor& colour);

    /// Selects the misspelt word that is marked at \a position of \a document; null when there is none.
    QTextCursor markedAt(QTextDocument& document, int position);

private:
    QList<WordRange> markedIn(const QTextBlock& block);

    QPointer<SpellChecker> checker_;
    int writing_ = -1;
    std::optional<bool> inCode_; ///< whether the next block to be painted is
};

} // namespace teskal
