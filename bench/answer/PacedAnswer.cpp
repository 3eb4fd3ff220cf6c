#include "PacedAnswer.h"

#include "AnswerGenerator.h"

#include <QJsonArray>

namespace teskal::bench {

namespace {

constexpr int answerSize = 300'000; ///< bytes
constexpr int largePiece = 2000;    ///< bytes
constexpr int places[] = {10'000, 290'000};

/// Adds \a piece after \a piece until \a size is reached. Returns how far they go.
int fill(QList<int>& pieces, int from, int size, int piece) {
    for (; from < size; from += piece)
        pieces.append(piece);
    return from;
}

} // namespace

PacedAnswer::PacedAnswer() : bytes_(AnswerGenerator(1).mixed(answerSize).toUtf8().left(answerSize)) {
    constexpr int span = updates * smallPiece;
    const auto lengthOf = [this](int bytes) { return QString::fromUtf8(bytes_.left(bytes)).size(); };
    int sent = 0;
    for (std::size_t i = 0; i < windows_.size(); ++i) {
        const int begin = fill(pieces_, sent, places[i] - span / 2, largePiece);
        sent = fill(pieces_, begin, begin + span, smallPiece);
        windows_[i] = {QStringLiteral("at %1 KB").arg(places[i] / 1000), lengthOf(begin), lengthOf(sent)};
    }
    fill(pieces_, sent, answerSize, largePiece);
    length_ = lengthOf(answerSize);
}

QJsonObject PacedAnswer::override() const {
    QJsonArray pieces;
    for (const int piece : pieces_)
        pieces.append(piece);
    return {{QStringLiteral("path"), QStringLiteral("/api/chat")},
            {QStringLiteral("rawStream"), QString::fromLatin1(bytes_.toBase64())},
            {QStringLiteral("chunks"), pieces},
            {QStringLiteral("chunkDelayMs"), interval}};
}

} // namespace teskal::bench
