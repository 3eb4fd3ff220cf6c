#pragma once

#include "Chat.h"

#include <vector>

namespace teskal::bench {

/// The least that reading chats can cost: touching the file, checking that it is UTF-8 and making a QString
/// of every text in it, with no JSON at all.
class ReadFloor {
public:
    /// Notes which texts \a chats are made of.
    explicit ReadFloor(const QList<Chat>& chats);

    std::vector<QString> run(QByteArrayView file) const;

private:
    void add(const QString& text);

    QByteArray texts_; ///< one after the other, in UTF-8
    std::vector<qsizetype> sizes_;
};

} // namespace teskal::bench
