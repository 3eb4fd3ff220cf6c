#pragma once

#include "FileCache.h"
#include "FileSource.h"

#include <functional>

namespace teskal {

/// The stored files of the shown chat, out of the file cache.
class TranscriptFiles final : public FileSource {
public:
    /// How the files of the chat that is shown now are kept; none when nobody is signed in.
    using KeepRule = std::function<std::optional<FileCache::Keep>()>;

    /// \a files must outlive the source.
    TranscriptFiles(FileCache& files, KeepRule keep) : files_(files), keep_(std::move(keep)) {}

    QCoro::Task<FileLookup> find(QString id, std::stop_token stop) override;

private:
    FileCache& files_;
    KeepRule keep_;
};

} // namespace teskal
