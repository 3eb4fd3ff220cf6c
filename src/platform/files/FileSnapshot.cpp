#include "FileSnapshot.h"

#include "FileError.h"

#include <cerrno>

#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace teskal {

std::shared_ptr<const FileSnapshot> FileSnapshot::open(const QString& path) {
    std::shared_ptr<FileSnapshot> snapshot(new FileSnapshot);
    snapshot->file_.setFileName(path);
    if (!snapshot->file_.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        return nullptr;
    snapshot->state_ = snapshot->currentState();
    return snapshot;
}

FileSnapshot::State FileSnapshot::currentState() const {
    struct stat status {};
    if (fstat(file_.handle(), &status) != 0)
        return {};
#if defined(__APPLE__)
    const timespec changed = status.st_mtimespec;
#else
    const timespec changed = status.st_mtim;
#endif
    return {status.st_size, changed.tv_sec, changed.tv_nsec};
}

bool FileSnapshot::isUnchanged() const {
    return currentState() == state_;
}

void FileSnapshot::read(qint64 begin, char* into, qint64 count) const {
    while (count > 0) {
        const ssize_t got = pread(file_.handle(), into, std::size_t(count), begin);
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            throw FileReadError(qt_error_string(errno));
        if (got == 0)
            throw FileReadError(QStringLiteral("the file is shorter than it was"));
        begin += got;
        into += got;
        count -= got;
    }
}

QByteArrayView FileSnapshot::map() const {
    if (!mapped_ && state_.size > 0)
        mapped_ = file_.map(0, state_.size);
    return {mapped_, mapped_ ? state_.size : 0};
}

void FileSnapshot::drop(qint64 begin, qint64 size) const {
    // Only whole pages that lie inside.
    const qint64 page = sysconf(_SC_PAGESIZE);
    const qint64 from = (begin + page - 1) / page * page;
    const qint64 to = (begin + size) / page * page;
    if (mapped_ && to > from)
        madvise(mapped_ + from, std::size_t(to - from), MADV_DONTNEED);
}

} // namespace teskal
