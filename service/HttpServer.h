#pragma once

#include "Connection.h"
#include "Guarded.h"
#include "Latch.h"
#include "Service.h"

#include <httplib.h>
#include <map>
#include <string>

namespace teskal::service {

/// The network side: an HTTP server on 127.0.0.1 that hands every request, complete with its body, to
/// the service and sends what comes back. Each connection has a worker thread of its own.
class HttpServer : private httplib::Server {
public:
    HttpServer(Service& service, const Latch& stop);

    /// Takes `port` (0: any free one). Returns the port, or nothing when it is taken.
    std::optional<int> bind(int port);
    /// Serves until `shutDown`.
    void serve();
    /// Ends `serve`; the stop latch, opened before, has ended the waits of the workers. Any thread.
    void shutDown();

private:
    bool process_and_close_socket(socket_t socket) override;

    void prepare(httplib::Request& request, Connection& connection) const;
    void handle(const httplib::Request& request, httplib::Response& response,
                const httplib::ContentReader* reader);
    void send(httplib::Response& response, Outcome outcome, Connection& connection);
    Connection* connectionOf(const httplib::Request& request);

    Service& service_;
    const Latch& stop_;
    struct Open {
        std::map<int, Connection*> connections;
        int nextId = 1;
    };
    Guarded<Open> open_;
};

} // namespace teskal::service
