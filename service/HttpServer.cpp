#include "HttpServer.h"

#include "BodyWriter.h"
#include "Encoding.h"

#include <memory>
#include <sys/socket.h>
#include <thread>

namespace teskal::service {

namespace {

constexpr std::size_t workers = 128;
constexpr std::size_t longestKeepAlive = 1'000'000; ///< requests on one connection
constexpr std::chrono::seconds idleTimeout{20};
constexpr std::size_t largestBody = 32 * 1024 * 1024;

/// Header lines the HTTP library adds to what came over the wire.
bool isAddedByLibrary(const std::string& name) {
    return name == "REMOTE_ADDR" || name == "REMOTE_PORT" || name == "LOCAL_ADDR" || name == "LOCAL_PORT";
}

/// A name that resolves to loopback through someone else's DNS must not reach us (DNS rebinding).
bool namesLoopback(const std::string& host) {
    const std::string name = lowerAscii(host.substr(0, host.rfind(':')));
    return host.empty() || name == "127.0.0.1" || name == "localhost" || name == "[::1]";
}

bool hasBody(const httplib::Request& request) {
    return request.has_header("Content-Length") || request.has_header("Transfer-Encoding");
}

/// An error that leaves the rest of the request unread, and therefore ends the connection.
HttpReply refuse(int status, const std::string& message) {
    HttpReply reply = errorReply(status, message, status == 413 ? "TOO_LARGE" : "BAD_REQUEST");
    setHeader(reply.headers, "Connection", "close");
    return reply;
}

/// Reads the body into `into`; the refusal to send instead when it is too large or broken.
std::optional<HttpReply> readBody(const httplib::Request& request, const httplib::ContentReader& reader,
                                  HttpRequest& into) {
    if (request.is_multipart_form_data())
        return refuse(415, "This kind of body is not accepted.");
    const std::size_t limit = Service::bodyLimit(into.path);
    bool tooLarge = request.get_header_value<std::uint64_t>("Content-Length") > limit;
    if (tooLarge)
        return refuse(413, "The request is too large.");
    const bool complete = reader([&](const char* data, std::size_t size) {
        tooLarge = into.body.size() + size > limit;
        if (!tooLarge)
            into.body.append(data, size);
        return !tooLarge;
    });
    if (tooLarge)
        return refuse(413, "The request is too large.");
    if (!complete)
        return refuse(400, "The body did not arrive whole.");
    return std::nullopt;
}

} // namespace

HttpServer::HttpServer(Service& service, const Latch& stop) : service_(service), stop_(stop) {
    new_task_queue = [] { return new httplib::ThreadPool(workers); };
    set_payload_max_length(largestBody);
    set_keep_alive_max_count(longestKeepAlive);
    set_keep_alive_timeout(idleTimeout.count());
    // The library's own choice is SO_REUSEPORT, with which two services would share one port unnoticed.
    set_socket_options([](socket_t socket) {
        const int on = 1;
        ::setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    });
    // Every path is rewritten to "/" before the library matches it with regular expressions; the routes
    // are the service's own.
    set_pre_routing_handler([this](const httplib::Request& request, httplib::Response& response) {
        if (hasBody(request) && request.method != "GET" && request.method != "HEAD")
            return HandlerResponse::Unhandled;
        handle(request, response, nullptr);
        return HandlerResponse::Handled;
    });
    const auto withBody = [this](const httplib::Request& request, httplib::Response& response,
                                 const httplib::ContentReader& reader) {
        handle(request, response, &reader);
    };
    Post("/", withBody);
    Put("/", withBody);
    Patch("/", withBody);
    Delete("/", withBody);
    const HandlerWithResponse explain = [this](const httplib::Request& request, httplib::Response& response) {
        const Connection* connection = connectionOf(request);
        if (connection && connection->isAnswered)
            return HandlerResponse::Unhandled;
        response.set_content(
            errorReply(response.status, "This request was not understood.", "BAD_REQUEST").body,
            "application/json");
        return HandlerResponse::Handled;
    };
    set_error_handler(explain);
}

std::optional<int> HttpServer::bind(int port) {
    const bool bound =
        port == 0 ? (port = bind_to_any_port("127.0.0.1")) > 0 : bind_to_port("127.0.0.1", port);
    if (!bound)
        return std::nullopt;
    ::listen(svr_sock_, SOMAXCONN); // the library's backlog of five makes bursts of connections wait
    return port;
}

void HttpServer::serve() {
    listen_after_bind();
}

void HttpServer::shutDown() {
    service_.noticeStop();
    while (!is_running()) // a stop before the accept loop began would be lost
        std::this_thread::yield();
    stop();
}

bool HttpServer::process_and_close_socket(socket_t socket) {
    const int id = open_.with([](Open& open) { return open.nextId++; });
    Connection connection(socket, id, stop_);
    open_.with([&](Open& open) { open.connections[id] = &connection; });
    try {
        for (std::size_t served = 0; served < longestKeepAlive && !connection.isClosing(); ++served) {
            if (!connection.awaitRequest(idleTimeout))
                break;
            connection.beginRequest();
            bool closed = false;
            const bool sent =
                process_request(connection, served + 1 == longestKeepAlive, closed,
                                [&](httplib::Request& request) { prepare(request, connection); });
            if (connection.onFinished)
                connection.onFinished(sent);
            if (!connection.isAnswered) // refused by the library: where the next request begins is unknown
                connection.closeAfterReply();
            if (!sent || closed)
                break;
        }
    } catch (...) {
        // A request that makes the library throw costs its connection and nothing else.
    }
    open_.with([&](Open& open) { open.connections.erase(id); });
    return true;
}

void HttpServer::prepare(httplib::Request& request, Connection& connection) const {
    for (const auto& [name, value] : request.headers) {
        if (!isAddedByLibrary(name))
            connection.receivedHeaders.emplace_back(name, value);
    }
    connection.target = request.target;
    // Compression would hold small chunks back; ranges make no sense for anything here.
    request.headers.erase("Accept-Encoding");
    request.headers.erase("Range");
    request.ranges.clear();
    request.path.assign(1, '/');
}

void HttpServer::handle(const httplib::Request& request, httplib::Response& response,
                        const httplib::ContentReader* reader) {
    Connection* connection = connectionOf(request);
    if (!connection)
        throw std::logic_error("a request without a connection");
    connection->isAnswered = true;
    // What stays unread must not be taken for the next request; a client may announce that there is nothing.
    if (!reader && hasBody(request) && request.get_header_value("Content-Length") != "0")
        connection->closeAfterReply();

    HttpRequest plain{request.method, {}, {}, connection->receivedHeaders, {}};
    const std::string& target = connection->target;
    const auto question = std::min(target.find('?'), target.size());
    const auto path = percentDecode(target.substr(0, question));
    const auto query = parseForm(target.substr(std::min(question + 1, target.size())));
    if (!path || !isUtf8(*path) || !query)
        return send(response, {refuse(400, "The address is malformed."), {}}, *connection);
    if (!namesLoopback(headerValue(plain.headers, "Host")))
        return send(response, {refuse(421, "This service answers to 127.0.0.1 only."), {}}, *connection);
    plain.path = *path;
    plain.query = *query;
    if (reader) {
        if (auto problem = readBody(request, *reader, plain))
            return send(response, {std::move(*problem), {}}, *connection);
    }
    send(response, service_.answer(plain, *connection), *connection);
}

void HttpServer::send(httplib::Response& response, Outcome outcome, Connection& connection) {
    HttpReply& reply = outcome.reply;
    response.status = connection.status = reply.status;
    if (lowerAscii(headerValue(reply.headers, "Connection")) == "close")
        connection.closeAfterReply();
    std::string type;
    for (const auto& [name, value] : reply.headers) {
        if (lowerAscii(name) == "content-type")
            type = value;
        else
            response.set_header(name, value);
    }
    // An empty body has no place to be held at, and the library asks a provider of nothing for ever.
    const bool isHeld = !outcome.delivery.holds.empty() && !reply.body.empty();
    const bool asWhole = !reply.streamed && !isHeld && !outcome.delivery.truncateAfter;
    if (asWhole) {
        connection.bodyBytes = reply.body.size();
        response.body = std::move(reply.body);
        if (!type.empty())
            response.set_header("Content-Type", type);
        return;
    }
    const std::size_t length = reply.body.size();
    const bool streamed = reply.streamed;
    std::vector<Piece> pieces =
        streamed ? std::move(reply.pieces) : std::vector{Piece{std::move(reply.body), 0}};
    const auto writer =
        std::make_shared<BodyWriter>(std::move(pieces), std::move(outcome.delivery), service_, connection);
    if (streamed) {
        response.set_chunked_content_provider(type, [writer](std::size_t, httplib::DataSink& sink) {
            if (!writer->writeNext(sink))
                return false;
            if (writer->isDone())
                sink.done();
            return true;
        });
    } else {
        response.set_content_provider(
            length, type,
            [writer](std::size_t, std::size_t, httplib::DataSink& sink) { return writer->writeNext(sink); });
    }
}

Connection* HttpServer::connectionOf(const httplib::Request& request) {
    return open_.with([&](Open& open) -> Connection* {
        const auto found = open.connections.find(request.remote_port);
        return found == open.connections.end() ? nullptr : found->second;
    });
}

} // namespace teskal::service
