#pragma once

#include <QString>

namespace teskal {

/// The file \a from takes the place of \a to in one step, whatever was there. Both are on one file system.
/// Throws FileError. Any thread.
void moveFile(const QString& from, const QString& to);

/// The same once the bytes of \a from are on the disk, so that a crash leaves no half of it as \a to. May
/// wait for the disk: not for the main thread.
void moveFileDurably(const QString& from, const QString& to);

} // namespace teskal
