#pragma once

#include <QJsonObject>
#include <QString>

#include <array>

namespace teskal::bench {

/// An answer of 300 KB of mixed Markdown in pieces of 60 bytes, 30 a second, around 10 and around 290 KB.
/// What lies between and around is there in pieces of 2,000 bytes, 30 a second too: at 60 bytes the whole
/// would take three minutes.
class PacedAnswer {
public:
    static constexpr int updates = 200;   ///< measured ones, in each window
    static constexpr int smallPiece = 60; ///< bytes
    static constexpr int interval = 33;   ///< ms between pieces

    /// Lengths of the text, in UTF-16 units, between which an update counts.
    struct Window {
        QString name;
        qsizetype begin = 0;
        qsizetype end = 0;
    };

    PacedAnswer();

    const std::array<Window, 2>& windows() const { return windows_; }
    qsizetype length() const { return length_; }
    /// What the local service is told to do with the next question.
    QJsonObject override() const;

private:
    QByteArray bytes_;
    QList<int> pieces_;
    qsizetype length_ = 0;
    std::array<Window, 2> windows_;
};

} // namespace teskal::bench
