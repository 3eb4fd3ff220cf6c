#include "FileMove.h"

#include "FileError.h"

#include <QFile>

#include <cerrno>
#include <cstdio>

#include <fcntl.h>
#include <unistd.h>

namespace teskal {

namespace {

[[noreturn]] void throwSystemError() {
    throw FileError(qt_error_string(errno));
}

} // namespace

void moveFile(const QString& from, const QString& to) {
    if (std::rename(QFile::encodeName(from).constData(), QFile::encodeName(to).constData()) != 0)
        throwSystemError();
}

void moveFileDurably(const QString& from, const QString& to) {
    const int file = ::open(QFile::encodeName(from).constData(), O_RDONLY | O_CLOEXEC);
    if (file < 0)
        throwSystemError();
    const bool synced = ::fsync(file) == 0;
    ::close(file);
    if (!synced)
        throwSystemError();
    moveFile(from, to);
}

} // namespace teskal
