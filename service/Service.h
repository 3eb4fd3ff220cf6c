#pragma once

#include "Connection.h"
#include "HttpValues.h"
#include "Latch.h"
#include "Options.h"
#include "ServiceState.h"

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace teskal::service {

/// How a reply's body goes out.
struct Delivery {
    std::chrono::milliseconds chunkDelay{0};
    std::optional<std::size_t> truncateAfter; ///< close after that many body bytes
    std::vector<Hold> holds;                  ///< gates inside the body
    std::size_t logEntry = 0;
};

struct Outcome {
    HttpReply reply;
    Delivery delivery;
};

/// The service without the network: from a request to what is to be sent. Used by all workers at once.
class Service {
public:
    /// Opens the state; throws `DatabaseError` when it cannot be used.
    Service(const Options& options, const Latch& stop);

    /// Largest body that a request to `path` may carry, in bytes.
    static std::size_t bodyLimit(const std::string& path);

    /// Answers a request. Blocks while the control interface wants the reply held, delayed or withheld,
    /// and drops the connection where it says so; what is returned is then not sent.
    Outcome answer(const HttpRequest& request, Connection& connection);

    /// Marks a logged request as waiting at a hold, or no longer.
    void setHeld(std::size_t logEntry, bool held);
    /// Waits at a hold; false when the peer left or the service stops.
    bool passHold(const Hold& hold, std::size_t logEntry, Connection& connection);

    /// Wakes those that wait for the shared state after the stop latch was opened.
    void noticeStop();

private:
    HttpReply route(const HttpRequest& request);
    HttpReply find(const HttpRequest& request);
    void admit(const HttpRequest& request, Connection& connection, Control::Admission& admission);

    const Options options_;
    const Latch& stop_;
    SharedState state_;
};

} // namespace teskal::service
