#pragma once

#include "ChatFileReader.h"

#include <QHash>
#include <QSet>
#include <QString>

#include <memory>
#include <optional>
#include <stop_token>
#include <vector>

namespace teskal {

/// Chats of an account as they come from its file: mended, newest first, each identifier once.
struct AccountChats {
    std::vector<std::unique_ptr<Chat>> chats;
    QHash<QString, ChatRange> ranges; ///< of those that stand in the file as they are
    bool mended = false;              ///< an answer was: the file is to be written
};

/// Reads the chats of an account's file in two parts, so that the user need not wait for those that nobody
/// has looked at for a long time: first the ones at the file's beginning, where the newest stand; then the
/// rest, without taking time from anything else, for as long as nobody waits for it. Everything that can be
/// made of the file beside the main thread is. Used by one thread at a time, any.
class AccountReading {
public:
    /// Reading ends soon after \a stop is set; what it gives then is of no use. \a hurry says that somebody
    /// waits for all of it.
    AccountReading(QString path, std::stop_token stop, std::stop_token hurry);

    /// The first part; nothing when somebody waits for all chats anyway.
    AccountChats readNewest();
    /// All that is left.
    AccountChats readRest();

    /// The file that was read; null when it cannot be.
    const std::shared_ptr<const FileSnapshot>& file() const { return file_; }
    /// Whether the file is there but cannot be read or does not decode. No chat of it counts, then.
    bool isDamaged() const { return damaged_; }

private:
    template<typename Read>
    AccountChats guarded(const Read& read);
    void open();
    void readQuietly(AccountChats& account);
    void add(AccountChats& account, LoadedChats loaded);

    QString path_;
    std::stop_token stop_;
    std::stop_token hurry_;
    std::shared_ptr<const FileSnapshot> file_;
    std::optional<ChatFileReader> reader_; ///< once the file is open
    QSet<QString> known_;                  ///< identifiers of the chats that were read
    bool damaged_ = false;
};

} // namespace teskal
