#pragma once

#include "FileError.h"

#include <QByteArray>
#include <QSaveFile>

namespace teskal {

class FileSnapshot;

/// Makes the folder at \a path (0700), with its parents, if it is not there. Throws FileError. Any thread.
void makePrivateFolder(const QString& path);

/// A file that takes the place of another as a whole: written beside it, synced, renamed, and its folder
/// synced, so that a crash at any moment leaves the old or the new one. Dropped without commit() it leaves
/// nothing. The folder is made with its parents (0700), the file is readable by the user alone (0600).
/// Any thread, one at a time.
class AtomicFile {
public:
    /// Throws FileError.
    explicit AtomicFile(const QString& path);
    AtomicFile(const AtomicFile&) = delete;
    AtomicFile& operator=(const AtomicFile&) = delete;

    /// Appends \a bytes. Throws FileError.
    void write(QByteArrayView bytes);
    /// Appends \a size bytes of \a source, from \a begin. Throws FileReadError when they cannot be read,
    /// FileError when they cannot be written.
    void copy(const FileSnapshot& source, qint64 begin, qint64 size);
    /// Takes the old file's place. Throws FileError; the old file is whole then.
    void commit();
    /// Bytes that were appended.
    qint64 size() const { return size_; }

private:
    void startWriteback();

    QSaveFile file_;
    qint64 size_ = 0;
    qint64 handedOver_ = 0; ///< bytes that the system was asked to write already
};

/// Replaces the file at \a path with \a bytes, as AtomicFile does. Throws FileError.
void writeFileAtomically(const QString& path, QByteArrayView bytes);

/// Removes what writers of the file at \a path left beside it when they were killed. To be called while
/// nothing writes it.
void removeLeftovers(const QString& path);

/// Keeps the file at \a path as "<path>.damaged-<time>", too, so that what could not be read is not lost when
/// the next save replaces it, and returns the copy's name. \a nowMs names the copy, in ms since 1970. Throws
/// FileError when the file can be kept in no way; it must not be replaced then. Any thread.
QString keepDamagedFile(const QString& path, double nowMs);
/// The same, and logs one line. Main thread.
void setDamagedFileAside(const QString& path, double nowMs);
/// Logs that a damaged file is kept as \a name.
void logDamagedFile(const QString& name);

} // namespace teskal
