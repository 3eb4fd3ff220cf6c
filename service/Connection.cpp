#include "Connection.h"

#include <algorithm>
#include <cerrno>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace teskal::service {

namespace {

constexpr std::chrono::seconds readTimeout{10};
constexpr std::chrono::seconds writeTimeout{30};
/// Far above the largest body that is accepted, so that a refused upload can be read to its end.
constexpr std::size_t maxRequestBytes = 64 * 1024 * 1024;

int millisecondsOf(std::chrono::milliseconds timeout) {
    return timeout.count() < 0 ? -1 : static_cast<int>(std::min<std::int64_t>(timeout.count(), 1 << 30));
}

} // namespace

Connection::Connection(int socket, int id, const Latch& stop) : socket_(socket), id_(id), stop_(stop) {
    const int on = 1;
    ::setsockopt(socket_, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

Connection::~Connection() {
    if (!dropped_) {
        ::shutdown(socket_, SHUT_WR);
        if (closing_)
            drain();
    }
    ::close(socket_);
}

bool Connection::awaitRequest(std::chrono::milliseconds timeout) {
    return bufferBegin_ < bufferEnd_ || pollFor(POLLIN, timeout);
}

void Connection::beginRequest() {
    bytesLeft_ = maxRequestBytes;
    isAnswered = false;
    onFinished = nullptr;
    outcome = "sent";
    status = 0;
    bodyBytes = 0;
    receivedHeaders.clear();
    target.clear();
}

Connection::Wake Connection::wait(std::chrono::milliseconds timeout, const Latch* latch) const {
    pollfd entries[] = {
        {stop_.fd(), POLLIN, 0}, {socket_, POLLRDHUP, 0}, {latch ? latch->fd() : -1, POLLIN, 0}};
    int ready;
    do
        ready = ::poll(entries, 3, millisecondsOf(timeout));
    while (ready < 0 && errno == EINTR);
    if (entries[0].revents != 0)
        return Wake::Stopping;
    if (entries[1].revents != 0)
        return Wake::PeerLeft;
    return entries[2].revents != 0 ? Wake::Opened : Wake::TimedOut;
}

void Connection::drop(bool reset) {
    if (reset) {
        const linger now{1, 0};
        ::setsockopt(socket_, SOL_SOCKET, SO_LINGER, &now, sizeof now);
    } else {
        ::shutdown(socket_, SHUT_RDWR);
    }
    dropped_ = true;
    closing_ = true;
}

bool Connection::is_readable() const {
    return bufferBegin_ < bufferEnd_ || pollFor(POLLIN, readTimeout);
}

bool Connection::is_writable() const {
    return !dropped_ && pollFor(POLLOUT, writeTimeout);
}

ssize_t Connection::read(char* data, std::size_t size) {
    if (dropped_ || bytesLeft_ == 0)
        return -1;
    if (bufferBegin_ == bufferEnd_) {
        if (!pollFor(POLLIN, readTimeout))
            return -1;
        const ssize_t count = ::recv(socket_, buffer_.data(), buffer_.size(), 0);
        if (count <= 0)
            return count;
        bufferBegin_ = 0;
        bufferEnd_ = static_cast<std::size_t>(count);
        acknowledge();
    }
    const std::size_t count = std::min({size, bufferEnd_ - bufferBegin_, bytesLeft_});
    std::copy_n(buffer_.data() + bufferBegin_, count, data);
    bufferBegin_ += count;
    bytesLeft_ -= count;
    return static_cast<ssize_t>(count);
}

/// A client that gathers small writes (RFC 896) sends the rest of a body only after this: without it each
/// upload waits for the 40 ms after which the system acknowledges by itself. The option holds for one time.
void Connection::acknowledge() const {
#if defined(TCP_QUICKACK)
    const int on = 1;
    ::setsockopt(socket_, IPPROTO_TCP, TCP_QUICKACK, &on, sizeof on);
#endif
}

ssize_t Connection::write(const char* data, std::size_t size) {
    std::size_t sent = 0;
    while (sent < size) {
        if (dropped_ || !pollFor(POLLOUT, writeTimeout))
            return -1;
        // Never blocks in send: a peer that does not read must not hold up a stop.
        const ssize_t count = ::send(socket_, data + sent, size - sent, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (count < 0 && errno != EAGAIN && errno != EINTR)
            return -1;
        sent += count > 0 ? static_cast<std::size_t>(count) : 0;
    }
    return static_cast<ssize_t>(sent);
}

void Connection::get_remote_ip_and_port(std::string& ip, int& port) const {
    ip = "127.0.0.1";
    port = id_;
}

void Connection::get_local_ip_and_port(std::string& ip, int& port) const {
    ip = "127.0.0.1";
    port = 0;
}

/// True when the socket is ready, false when the time passed or the service stops.
bool Connection::pollFor(short events, std::chrono::milliseconds timeout) const {
    pollfd entries[] = {{socket_, events, 0}, {stop_.fd(), POLLIN, 0}};
    int ready;
    do
        ready = ::poll(entries, 2, millisecondsOf(timeout));
    while (ready < 0 && errno == EINTR);
    return ready > 0 && entries[0].revents != 0 && entries[1].revents == 0;
}

void Connection::drain() const {
    // Closing with unread bytes resets the connection, and the peer would lose the reply with it.
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    std::array<char, 16 * 1024> rest;
    for (std::size_t read = 0; read < maxRequestBytes && std::chrono::steady_clock::now() < end;) {
        if (!pollFor(POLLIN, std::chrono::milliseconds(200)))
            return;
        const ssize_t count = ::recv(socket_, rest.data(), rest.size(), 0);
        if (count <= 0)
            return;
        read += static_cast<std::size_t>(count);
    }
}

} // namespace teskal::service
