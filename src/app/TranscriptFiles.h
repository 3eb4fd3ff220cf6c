#pragma once

#include "FileCache.h"
#include "FileSource.h"

#include <functional>

namespace teskal {

class ChatStore;

/// The stored files of the shown chat, out of the file cache. What no shown message names is not looked for.
class TranscriptFiles final : public FileSource {
public:
    using Selection = std::function<std::optional<QString>()>;

    /// \a files and \a store must outlive the source. \a selection tells the chat that is shown.
    TranscriptFiles(FileCache& files, const ChatStore& store, Selection selection)
        : files_(files), store_(store), selection_(std::move(selection)) {}

    QCoro::Task<FileLookup> find(QString id, std::stop_token stop) override;
    /// How the file \a id, which a message of the chat names, is kept: what the private chat names never
    /// reaches the disk. None when nobody is signed in or no message names it (any more).
    std::optional<FileCache::Keep> keepRule(const QString& id, const QString& chatId) const;

private:
    FileCache& files_;
    const ChatStore& store_;
    Selection selection_;
};

} // namespace teskal
