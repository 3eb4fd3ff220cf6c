#pragma once

#include <string>
#include <string_view>

/// A bare TCP connection, for requests no HTTP client would send and replies it would not show.
class RawSocket {
public:
    explicit RawSocket(int port, const char* address = "127.0.0.1");
    ~RawSocket();
    RawSocket(const RawSocket&) = delete;
    RawSocket& operator=(const RawSocket&) = delete;

    bool isConnected() const { return connected_; }
    /// Sends all of `bytes`; false when the other side closed first.
    bool send(std::string_view bytes);
    /// Reads until `count` bytes came, the other side closed or ten seconds passed without any.
    std::string read(std::size_t count = std::string::npos);
    /// The other side closed (rather than the read timing out).
    bool wasClosed() const { return closed_; }

private:
    int socket_;
    bool connected_ = false;
    bool closed_ = false;
};
