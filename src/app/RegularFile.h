#pragma once

#include <QString>

#include <memory>

class QFile;

namespace teskal {

/// The file at \a path, open for reading, when it is a regular file that has something in it. Null otherwise,
/// at once: a pipe that nobody writes to is not waited for, a device is not opened. Any thread.
std::unique_ptr<QFile> openRegularFile(const QString& path);

} // namespace teskal
