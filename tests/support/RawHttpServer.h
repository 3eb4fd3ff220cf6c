#pragma once

#include "RawReply.h"

#include <QByteArray>
#include <QList>
#include <QTcpServer>
#include <QUrl>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

class QTcpSocket;

namespace teskal::test {

/// A request as it arrived.
struct RawRequest {
    QByteArray method;
    QByteArray target;
    QByteArray head; ///< everything before the body, request line included
    QByteArray body;

    /// The value of a header field, none when it is absent.
    std::optional<QByteArray> header(const QByteArray& name) const;
};

/// A loopback HTTP server that answers with scripted bytes and keeps what it was asked. Runs on the
/// thread and event loop of the test.
class RawHttpServer : public QTcpServer {
    Q_OBJECT
public:
    using Handler = std::function<RawReply(const RawRequest&)>;

    /// Listens on a free port. Without replies or handler every request is answered with status 599.
    RawHttpServer();
    /// Answers the first request with \a first.
    explicit RawHttpServer(const RawReply& first) : RawHttpServer() { enqueue(first); }
    ~RawHttpServer() override;

    QUrl url(const QString& path = u"/"_qs) const;
    /// The next request that has no reply yet gets this one.
    void enqueue(const RawReply& reply) { queue_.append(reply); }
    /// Answers requests that find the queue empty.
    void setHandler(Handler handler) { handler_ = std::move(handler); }
    /// Continues every reply that pauses.
    void proceed();

    const QList<RawRequest>& requests() const { return requests_; }
    int connectionCount() const { return connectionCount_; }
    /// Connections that are open now.
    int openConnections() const { return static_cast<int>(connections_.size()); }
    int pausedCount() const;
    /// Bytes that were to be sent and that the other side has not taken.
    qint64 unsentBytes() const;

private:
    class Connection;

    void accept();
    void remove(Connection* connection);
    RawReply answer(const RawRequest& request);

    Handler handler_;
    QList<RawReply> queue_;
    QList<RawRequest> requests_;
    std::vector<std::unique_ptr<Connection>> connections_;
    int connectionCount_ = 0;
};

} // namespace teskal::test
