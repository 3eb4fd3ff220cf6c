#pragma once

#include "Error.h"

#include <QByteArray>

namespace teskal {

/// A file operation that failed; the text is the system's description, for the log.
class FileError : public Error {
public:
    using Error::Error;
};

/// Replaces the file at \a path with \a bytes: temporary file in the same folder, written, synced, renamed,
/// so that a crash leaves the old or the new file whole. The folder is made with its parents (0700), the file
/// is readable by the user alone (0600). Throws FileError; the old file is whole then.
void writeFileAtomically(const QString& path, QByteArrayView bytes);

/// Copies the file at \a path to "<path>.damaged-<time>" and logs one line, so that what could not be read is
/// not lost when the next save replaces it. \a nowMs names the copy, in ms since 1970. Throws FileError when
/// the file can be kept in no way; it must not be replaced then.
void setDamagedFileAside(const QString& path, double nowMs);

} // namespace teskal
