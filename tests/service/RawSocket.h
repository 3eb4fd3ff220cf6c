#pragma once

#include <algorithm>
#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <string>
#include <string_view>
#include <sys/socket.h>
#include <unistd.h>

/// A bare TCP connection, for requests no HTTP client would send and replies it would not show.
class RawSocket {
public:
    explicit RawSocket(int port, const char* address = "127.0.0.1")
        : socket_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_in peer{};
        peer.sin_family = AF_INET;
        peer.sin_port = htons(static_cast<std::uint16_t>(port));
        ::inet_pton(AF_INET, address, &peer.sin_addr);
        connected_ = ::connect(socket_, reinterpret_cast<const sockaddr*>(&peer), sizeof peer) == 0;
    }
    ~RawSocket() { ::close(socket_); }
    RawSocket(const RawSocket&) = delete;
    RawSocket& operator=(const RawSocket&) = delete;

    bool isConnected() const { return connected_; }
    /// Sends \a bytes until the other side closes.
    void send(std::string_view bytes) {
        while (!bytes.empty()) {
            const ssize_t count = ::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
            if (count <= 0)
                return;
            bytes.remove_prefix(std::size_t(count));
        }
    }
    /// Reads until the other side closes or ten seconds pass without a byte, but not more than \a count
    /// bytes.
    std::string read(std::size_t count = std::string::npos) {
        std::string out;
        char buffer[16 * 1024];
        pollfd entry{socket_, POLLIN, 0};
        while (!closed_ && out.size() < count && ::poll(&entry, 1, 10'000) == 1) {
            const ssize_t got = ::recv(socket_, buffer, std::min(sizeof buffer, count - out.size()), 0);
            closed_ = got <= 0;
            out.append(buffer, std::size_t(std::max(got, ssize_t(0))));
        }
        return out;
    }
    /// The other side closed (rather than the read timing out).
    bool wasClosed() const { return closed_; }

private:
    int socket_;
    bool connected_ = false;
    bool closed_ = false;
};
