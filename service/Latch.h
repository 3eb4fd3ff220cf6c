#pragma once

namespace teskal::service {

/// A door that opens once and stays open. Any number of threads wait for it with poll(2) on `fd()`,
/// beside their sockets, so that one wait ends for whichever comes first.
class Latch {
public:
    Latch();
    ~Latch();
    Latch(const Latch&) = delete;
    Latch& operator=(const Latch&) = delete;

    /// Opens the latch. Safe from any thread, any number of times.
    void open() const;
    bool isOpen() const;
    /// Readable for ever once the latch is open. Owned by the latch.
    int fd() const { return fd_; }

private:
    int fd_;
};

} // namespace teskal::service
