#include "UploadDevice.h"

#include <algorithm>
#include <cstring>

namespace teskal {

UploadDevice::UploadDevice(QByteArray body, QObject* parent) : QIODevice(parent), body_(std::move(body)) {
    open(QIODevice::ReadOnly | QIODevice::Unbuffered);
}

qint64 UploadDevice::bytesAvailable() const {
    return body_.size() - position_ + QIODevice::bytesAvailable();
}

bool UploadDevice::reset() {
    if (mayReset_)
        position_ = 0;
    return mayReset_;
}

qint64 UploadDevice::readData(char* data, qint64 maxSize) {
    const qint64 size = std::min<qint64>(maxSize, body_.size() - position_);
    std::memcpy(data, body_.constData() + position_, static_cast<std::size_t>(size));
    position_ += size;
    return size;
}

qint64 UploadDevice::writeData(const char* /*data*/, qint64 /*size*/) {
    return -1;
}

} // namespace teskal
