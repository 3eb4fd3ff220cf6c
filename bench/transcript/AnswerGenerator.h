#pragma once

#include "ChatMessage.h"

#include <QString>

#include <random>

namespace teskal::bench {

/// Makes answers in Markdown as models write them, the same ones for the same seed. Lengths are in
/// characters, nearly all of which are one byte; none is half of a surrogate pair, so a text may be cut
/// anywhere.
class AnswerGenerator {
public:
    explicit AnswerGenerator(unsigned seed) : random_(seed) {}

    /// Paragraphs, headings, lists, tables, quotes, code and formulas, at least \a length characters.
    QString mixed(qsizetype length);
    /// One fence, list or table of at least \a length characters.
    QString fence(qsizetype length);
    QString list(qsizetype length);
    QString table(qsizetype length);

    /// A conversation of \a pairs questions and mixed answers, about \a answerLength characters each.
    QList<ChatMessage> conversation(int pairs, qsizetype answerLength);

private:
    QString block();
    QString words(int count);
    QString word();
    QString sentence();
    QString paragraph();
    QString codeLine();
    QString code();
    QString bulletList(bool numbered);
    QString smallTable();
    QString row();
    QString formula();
    int below(int limit);

    std::mt19937 random_;
};

} // namespace teskal::bench
