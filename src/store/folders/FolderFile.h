#pragma once

#include "FolderDocument.h"

#include <QString>

#include <optional>

namespace teskal {

/// The file that keeps one account's folders. Any thread, one at a time.
class FolderFile {
public:
    /// \a folder holds the files of all accounts.
    FolderFile(const QString& folder, const QString& owner);

    /// The document of the file; an empty one when there is no file, or it cannot be read or does not decode.
    /// Removes what a writer that was killed left behind.
    FolderDocument read();
    /// Keeps a copy of a file that could not be read, before the first write replaces it, and returns its
    /// name. None when there is nothing to keep (any more). \a nowMs, in ms since 1970, names the copy.
    /// Throws FileError; nothing may be written then.
    std::optional<QString> keepDamaged(double nowMs);
    /// Replaces the file. Throws FileError; the old file is whole then.
    void write(const FolderDocument& document);

private:
    QString path_;
    bool damaged_ = false;
};

} // namespace teskal
