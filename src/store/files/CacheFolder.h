#pragma once

#include "CachedFile.h"

#include <optional>

namespace teskal {

/// The folder of cached files. A file has the name of its identifier; beside it, with ".type", stands its
/// MIME type, which is written first, so that a file with its final name is whole and of a known type.
/// Identifiers must hold IDs::isSyncable. A value; any thread, one writer at a time.
class CacheFolder {
public:
    explicit CacheFolder(QString path) : path_(std::move(path)) {}

    /// Makes the folder (0700), with its parents. Throws FileError.
    void make() const;
    /// None when the file is not here. Without a readable type it is "application/octet-stream".
    std::optional<CachedFile> find(const QString& id) const;
    /// Writes a file. Throws FileError.
    void write(const QString& id, const QByteArray& bytes, const QString& mediaType) const;
    /// Where a download of \a id goes until it is whole.
    QString partPath(const QString& id) const;
    /// Makes the whole download the file. Throws FileError.
    void placePart(const QString& id, const QString& mediaType) const;
    /// Removes what writers that were killed left.
    void removeLeftovers() const;

private:
    QString filePath(const QString& id) const;
    QString typePath(const QString& id) const;

    QString path_;
};

} // namespace teskal
