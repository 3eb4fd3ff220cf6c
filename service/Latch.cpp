#include "Latch.h"

#include <cerrno>
#include <cstdint>
#include <poll.h>
#include <sys/eventfd.h>
#include <system_error>
#include <unistd.h>

namespace teskal::service {

Latch::Latch() : fd_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (fd_ < 0)
        throw std::system_error(errno, std::generic_category(), "eventfd");
}

Latch::~Latch() {
    ::close(fd_);
}

void Latch::open() const {
    const std::uint64_t one = 1;
    // Only a full counter can refuse the write, and then the latch is open already.
    [[maybe_unused]] const auto written = ::write(fd_, &one, sizeof one);
}

bool Latch::isOpen() const {
    pollfd entry{fd_, POLLIN, 0};
    return ::poll(&entry, 1, 0) == 1;
}

} // namespace teskal::service
