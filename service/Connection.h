#pragma once

#include "HttpValues.h"
#include "Latch.h"

#include <array>
#include <chrono>
#include <functional>
#include <httplib.h>
#include <string>

namespace teskal::service {

/// One accepted connection, used by one worker thread. The HTTP library reads and writes through it,
/// which is what makes replies spoilable at the level of bytes and lets a stop end every wait at once.
class Connection : public httplib::Stream {
public:
    /// Why a wait ended.
    enum class Wake { TimedOut, Opened, PeerLeft, Stopping };

    /// `id` stands in for the peer's port: it leads from the library's request back to its connection.
    Connection(int socket, int id, const Latch& stop);
    /// Closes the socket; after an early refusal the peer gets a moment to read it first.
    ~Connection() override;
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    /// Waits for the first byte of a request. False when there is none to come.
    bool awaitRequest(std::chrono::milliseconds timeout);
    /// Starts the count of bytes that one request may take.
    void beginRequest();

    /// Waits until `timeout` passes (negative: without limit), `latch` opens (if given), the peer leaves
    /// or the service stops.
    Wake wait(std::chrono::milliseconds timeout, const Latch* latch = nullptr) const;

    /// Ends the connection now, before anything else is sent; with `reset` by RST instead of FIN.
    void drop(bool reset);
    /// Closes after the reply under way, because the rest of the request was not read.
    void closeAfterReply() { closing_ = true; }
    bool isClosing() const { return closing_; }

    int id() const { return id_; }

    /// Headers as they came; those that would change how the library replies are removed from its copy.
    HeaderList receivedHeaders;
    /// The target of the request line, still encoded.
    std::string target;
    /// A route has answered, so that an empty error body is meant to be empty.
    bool isAnswered = false;
    /// How the reply under way ended, for the log of the control interface.
    std::string outcome = "sent";
    /// Status of the reply under way, 0 before there is one.
    int status = 0;
    /// Bytes of a piecewise body sent so far.
    std::size_t bodyBytes = 0;
    /// Told once per request, after the reply, whether all of it was handed to the system.
    std::function<void(bool sent)> onFinished;

    bool is_readable() const override;
    bool is_writable() const override;
    ssize_t read(char* data, std::size_t size) override;
    ssize_t write(const char* data, std::size_t size) override;
    void get_remote_ip_and_port(std::string& ip, int& port) const override;
    void get_local_ip_and_port(std::string& ip, int& port) const override;
    socket_t socket() const override { return socket_; }

private:
    bool pollFor(short events, std::chrono::milliseconds timeout) const;
    void drain() const;
    void acknowledge() const;

    int socket_;
    int id_;
    const Latch& stop_;
    bool closing_ = false;
    bool dropped_ = false;
    std::size_t bytesLeft_ = 0;
    std::array<char, 16 * 1024> buffer_;
    std::size_t bufferBegin_ = 0;
    std::size_t bufferEnd_ = 0;
};

} // namespace teskal::service
