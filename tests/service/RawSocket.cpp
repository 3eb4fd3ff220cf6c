#include "RawSocket.h"

#include <algorithm>
#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

RawSocket::RawSocket(int port, const char* address)
    : socket_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in peer{};
    peer.sin_family = AF_INET;
    peer.sin_port = htons(static_cast<std::uint16_t>(port));
    ::inet_pton(AF_INET, address, &peer.sin_addr);
    connected_ = ::connect(socket_, reinterpret_cast<const sockaddr*>(&peer), sizeof peer) == 0;
}

RawSocket::~RawSocket() {
    ::close(socket_);
}

bool RawSocket::send(std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t count = ::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (count <= 0)
            return false;
        bytes.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
}

std::string RawSocket::read(std::size_t count) {
    std::string out;
    char buffer[16 * 1024];
    pollfd entry{socket_, POLLIN, 0};
    while (out.size() < count && ::poll(&entry, 1, 10'000) == 1) {
        const ssize_t got = ::recv(socket_, buffer, std::min(sizeof buffer, count - out.size()), 0);
        if (got <= 0) {
            closed_ = true;
            break;
        }
        out.append(buffer, static_cast<std::size_t>(got));
    }
    return out;
}
