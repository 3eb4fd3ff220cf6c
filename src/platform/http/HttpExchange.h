#pragma once

#include "Completion.h"
#include "HttpError.h"
#include "HttpMessage.h"
#include "ManagerPool.h"
#include "SilenceTimer.h"

#include <QCoroTask>
#include <QNetworkReply>
#include <QObject>

#include <memory>
#include <optional>
#include <stop_token>

namespace teskal {

class Clock;

/// One request on the wire and its reply: what has arrived, why it ended, and who waits for more.
/// The coroutines below hold it, so it outlives every wait on it. Main thread only.
class HttpExchange final : public QObject {
    Q_OBJECT
public:
    /// Sends \a request. Throws HttpError when it cannot be put into HTTP.
    HttpExchange(std::shared_ptr<ManagerPool> pool, Clock& clock, const HttpRequest& request);
    ~HttpExchange() override;

    /// Waits for status and headers. Throws HttpError or Cancelled; the exchange has ended then.
    static QCoro::Task<HttpHead> readHead(std::shared_ptr<HttpExchange> exchange, std::stop_token token);
    /// Waits for the next bytes of the body, none at its end. Throws like readHead, but not before all
    /// bytes that arrived are delivered.
    static QCoro::Task<std::optional<QByteArray>> readBody(std::shared_ptr<HttpExchange> exchange,
                                                           std::stop_token token);
    /// Ends whoever waits with Cancelled and closes the connection: at once, or, beside other requests on the
    /// same manager, when the reply or the last of those has ended.
    void abandon();

private:
    void limitBuffer();
    void watch();
    void onMoved();
    void onSilence();
    void wakeWaiter();
    void dropReply();

    bool hasHead() const;
    HttpHead head() const;
    QByteArray takeBytes();
    /// True when the reply has ended well; throws when it ended otherwise.
    bool hasEnded() const;
    std::optional<HttpError> failure() const;
    /// Suspends until something arrives or the exchange ends; abandons it when \a token is set.
    static QCoro::Task<void> waitForMore(std::shared_ptr<HttpExchange> exchange, std::stop_token token);

    std::shared_ptr<ManagerPool> pool_;
    std::unique_ptr<QNetworkAccessManager> own_;    // null when the shared manager carries the request
    std::shared_ptr<QNetworkAccessManager> shared_; // null when own_ carries it, or dropped
    QNetworkReply* reply_ = nullptr;                // ours until dropReply()
    QByteArray rest_;                  // read, not delivered, when the session ended the reply itself
    std::optional<HttpError> failure_; // set when the session ended the reply itself
    bool abandoned_ = false;
    bool endedWell_ = false; // the connection may serve another request
    SilenceTimer silence_;
    CompletionSource<void> more_;
};

} // namespace teskal
