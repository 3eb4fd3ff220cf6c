#include "RawHttpServer.h"

#include <QTcpSocket>

#include <algorithm>

#include <sys/socket.h>

namespace teskal::test {

std::optional<QByteArray> RawRequest::header(const QByteArray& name) const {
    const auto lines = head.split('\n');
    for (const QByteArray& line : lines) {
        const auto colon = line.indexOf(':');
        if (colon > 0 && line.left(colon).compare(name, Qt::CaseInsensitive) == 0)
            return line.mid(colon + 1).trimmed();
    }
    return std::nullopt;
}

/// One client's connection: collects requests, plays replies.
class RawHttpServer::Connection {
public:
    Connection(RawHttpServer& server, QTcpSocket* socket) : server_(server), socket_(socket) {
        QObject::connect(socket, &QTcpSocket::readyRead, socket, [this] { readRequests(); });
        QObject::connect(socket, &QTcpSocket::disconnected, socket, [this] { server_.remove(this); });
    }
    ~Connection() {
        socket_->disconnect();
        socket_->abort();
        socket_->deleteLater();
    }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    bool isPaused() const { return paused_; }
    qint64 unsentBytes() const { return socket_->bytesToWrite(); }
    void proceed() {
        paused_ = false;
        play();
    }

private:
    void readRequests() {
        input_ += socket_->readAll();
        while (const auto request = takeRequest()) {
            server_.requests_.append(*request);
            const RawReply reply = server_.answer(*request);
            steps_.insert(steps_.end(), reply.steps().begin(), reply.steps().end());
            if (!play())
                return;
        }
    }

    std::optional<RawRequest> takeRequest() {
        const auto headEnd = input_.indexOf("\r\n\r\n");
        if (headEnd < 0)
            return std::nullopt;
        RawRequest request;
        request.head = input_.left(headEnd + 2);
        const auto words = request.head.left(request.head.indexOf('\r')).split(' ');
        request.method = words.value(0);
        request.target = words.value(1);
        const auto bodySize = request.header("Content-Length").value_or("0").toLongLong();
        if (input_.size() < headEnd + 4 + bodySize)
            return std::nullopt;
        request.body = input_.mid(headEnd + 4, bodySize);
        input_.remove(0, headEnd + 4 + bodySize);
        return request;
    }

    /// False when the connection is gone, and this object with it.
    bool play() {
        while (!paused_ && !steps_.empty()) {
            const RawReply::Step step = steps_.front();
            steps_.erase(steps_.begin());
            switch (step.kind) {
            case RawReply::Step::Kind::Send:
                socket_->write(step.bytes);
                break;
            case RawReply::Step::Kind::Pause:
                socket_->flush();
                paused_ = true;
                break;
            case RawReply::Step::Kind::Close:
                steps_.clear();
                socket_->disconnectFromHost(); // after the bytes written so far
                return false;
            case RawReply::Step::Kind::Reset:
                resetOnClose();
                server_.remove(this);
                return false;
            }
        }
        return true;
    }

    void resetOnClose() {
        const linger noWait{1, 0};
        setsockopt(static_cast<int>(socket_->socketDescriptor()), SOL_SOCKET, SO_LINGER, &noWait,
                   sizeof noWait);
    }

    RawHttpServer& server_;
    QTcpSocket* socket_;
    QByteArray input_;
    std::vector<RawReply::Step> steps_;
    bool paused_ = false;
};

RawHttpServer::RawHttpServer() {
    connect(this, &QTcpServer::newConnection, this, &RawHttpServer::accept);
    if (!listen(QHostAddress::LocalHost))
        qFatal("no free loopback port");
}

RawHttpServer::~RawHttpServer() = default;

QUrl RawHttpServer::url(const QString& path) const {
    return QUrl(u"http://127.0.0.1:%1%2"_qs.arg(serverPort()).arg(path));
}

void RawHttpServer::proceed() {
    // Playing may remove connections.
    std::vector<Connection*> paused;
    for (const auto& connection : connections_) {
        if (connection->isPaused())
            paused.push_back(connection.get());
    }
    for (Connection* connection : paused)
        connection->proceed();
}

int RawHttpServer::pausedCount() const {
    return static_cast<int>(std::count_if(connections_.begin(), connections_.end(),
                                          [](const auto& connection) { return connection->isPaused(); }));
}

qint64 RawHttpServer::unsentBytes() const {
    qint64 sum = 0;
    for (const auto& connection : connections_)
        sum += connection->unsentBytes();
    return sum;
}

void RawHttpServer::accept() {
    while (QTcpSocket* socket = nextPendingConnection()) {
        ++connectionCount_;
        connections_.push_back(std::make_unique<Connection>(*this, socket));
    }
}

void RawHttpServer::remove(Connection* connection) {
    std::erase_if(connections_, [connection](const auto& entry) { return entry.get() == connection; });
}

RawReply RawHttpServer::answer(const RawRequest& request) {
    if (!queue_.isEmpty())
        return queue_.takeFirst();
    return handler_ ? handler_(request) : RawReply::complete(599, "no reply scripted");
}

} // namespace teskal::test
