#include "RegularFile.h"

#include <QFile>

#include <fcntl.h>
#include <sys/stat.h>

namespace teskal {

namespace {

bool isRegular(const struct stat& state) {
    return S_ISREG(state.st_mode) && state.st_size > 0;
}

} // namespace

std::unique_ptr<QFile> openRegularFile(const QString& path) {
    const QByteArray name = QFile::encodeName(path);
    struct stat state {};
    if (name.isEmpty() || name.contains('\0') || ::stat(name.constData(), &state) != 0 || !isRegular(state))
        return nullptr;
    // What the name stands for may have changed since.
    const int descriptor = ::open(name.constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (descriptor < 0)
        return nullptr;
    auto file = std::make_unique<QFile>();
    const bool opened = file->open(descriptor, QIODevice::ReadOnly, QFileDevice::AutoCloseHandle);
    return opened && ::fstat(descriptor, &state) == 0 && isRegular(state) ? std::move(file) : nullptr;
}

} // namespace teskal
