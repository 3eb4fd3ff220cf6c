#pragma once

#include "Chat.h"

#include <QList>
#include <QString>

#include <optional>

namespace teskal {

/// The file that keeps one account's chats: a JSON array, newest chat first.
class ChatFile {
public:
    /// \a folder holds one file per account.
    ChatFile(const QString& folder, const QString& owner);

    /// The chats of the file; an empty list when there is none. A file that cannot be read or does not decode
    /// gives an empty list too, and is kept aside before the first write replaces it.
    QList<Chat> read();
    /// Replaces the file; \a nowMs, in ms since 1970, names the copy of a damaged one. Throws FileError; the
    /// old file is whole then.
    void write(const QByteArray& json, double nowMs);

    const QString& path() const { return path_; }

private:
    QString path_;
    bool damaged_ = false;
};

} // namespace teskal
