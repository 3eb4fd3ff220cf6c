#include "HttpExchange.h"

#include "HttpErrorMapping.h"
#include "NetworkRequest.h"
#include "UploadDevice.h"

#include <QNetworkInformation>

namespace teskal {

namespace {

/// Unread bytes that one reply holds at most before its sender is made to wait, in bytes.
constexpr qint64 readBufferSize = 256 * 1024;

/// Asks the desktop's network service, which takes a while to find, only once something has failed. Without
/// one nothing is known, and nothing is called offline.
bool machineIsOffline() {
    static const bool known =
        QNetworkInformation::loadBackendByFeatures(QNetworkInformation::Feature::Reachability);
    const auto* information = QNetworkInformation::instance();
    return known && information &&
           information->reachability() == QNetworkInformation::Reachability::Disconnected;
}

int statusOf(const QNetworkReply& reply) {
    return reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
}

/// Whether the end of the connection is the end of the body (RFC 9112, section 6.3, rule 8).
bool endsWithConnection(const QNetworkReply& reply) {
    return statusOf(reply) != 0 && !reply.hasRawHeader("Content-Length") &&
           !reply.hasRawHeader("Transfer-Encoding");
}

/// Every request gets a body device, if an empty one. Its refusal to be read again is what keeps a request
/// from being sent twice, and what makes a reply that breaks off end in an error every time: without it the
/// network library sometimes takes the end of the connection for the end of the body.
QNetworkReply* send(QNetworkAccessManager& manager, const HttpRequest& request) {
    QNetworkRequest out = networkRequestFrom(request);
    auto body = std::make_unique<UploadDevice>(request.body.value_or(QByteArray()));
    out.setHeader(QNetworkRequest::ContentLengthHeader, body->bytesAvailable());
    QNetworkReply* reply = manager.sendCustomRequest(out, request.method, body.get());
    QObject::connect(reply, &QNetworkReply::metaDataChanged, body.get(), [reply, device = body.get()] {
        const int status = statusOf(*reply);
        if (status == 307 || status == 308)
            device->allowReset();
    });
    body.release()->setParent(reply);
    return reply;
}

/// Leaves \a reply to its manager, which still carries others, and throws away what it brings. It ends with
/// the last of them at the latest.
void letGo(QNetworkReply& reply) {
    QObject::connect(&reply, &QNetworkReply::readyRead, &reply, [&reply] { reply.readAll(); });
    QObject::connect(&reply, &QNetworkReply::finished, &reply, &QObject::deleteLater);
    reply.readAll();
}

} // namespace

HttpExchange::HttpExchange(std::shared_ptr<ManagerPool> pool, Clock& clock, const HttpRequest& request)
    : pool_(std::move(pool)), silence_(clock, request.timeout, [this] { onSilence(); }) {
    if (request.ownConnection)
        own_ = pool_->borrow();
    else
        shared_ = pool_->shared();
    reply_ = send(own_ ? *own_ : *shared_, request);
    limitBuffer();
    watch();
}

HttpExchange::~HttpExchange() {
    dropReply();
    if (!own_)
        return;
    if (endedWell_)
        pool_->giveBack(std::move(own_));
    else
        own_.release()->deleteLater();
}

void HttpExchange::watch() {
    connect(reply_, &QNetworkReply::uploadProgress, this, &HttpExchange::onMoved);
    connect(reply_, &QNetworkReply::metaDataChanged, this, &HttpExchange::wakeWaiter);
    connect(reply_, &QNetworkReply::readyRead, this, &HttpExchange::wakeWaiter);
    connect(reply_, &QNetworkReply::finished, this, &HttpExchange::wakeWaiter);
}

void HttpExchange::limitBuffer() {
    // The request starts from the event loop, and what was set before its start is lost.
    QMetaObject::invokeMethod(
        reply_, [reply = reply_] { reply->setReadBufferSize(readBufferSize); }, Qt::QueuedConnection);
}

void HttpExchange::onMoved() {
    silence_.moved();
}

void HttpExchange::onSilence() {
    rest_ = reply_->readAll();
    failure_.emplace(HttpError::Kind::TimedOut, 0, QStringLiteral("silence"));
    dropReply();
    wakeWaiter();
}

void HttpExchange::wakeWaiter() {
    silence_.stop();
    more_.succeed();
}

void HttpExchange::dropReply() {
    if (!reply_)
        return;
    endedWell_ = reply_->isFinished() && !failure();
    // abort() emits from inside the call, and nobody is to take its outcome for the wire's.
    reply_->disconnect(this);
    QNetworkReply& reply = *std::exchange(reply_, nullptr);
    const auto manager = std::exchange(shared_, nullptr);
    if (manager && !endedWell_)
        pool_->retire(manager);
    if (manager && !reply.isFinished() && manager.use_count() > 1) {
        letGo(reply);
        return;
    }
    reply.abort();
    reply.deleteLater();
}

void HttpExchange::abandon() {
    abandoned_ = true;
    silence_.stop();
    dropReply();
    more_ = CompletionSource<void>(); // whoever waits for the old one is cancelled
}

bool HttpExchange::hasHead() const {
    return reply_ && reply_->attribute(QNetworkRequest::HttpStatusCodeAttribute).isValid();
}

HttpHead HttpExchange::head() const {
    HttpHead head;
    head.status = statusOf(*reply_);
    for (const auto& [name, value] : reply_->rawHeaderPairs())
        head.headers.append(name, value);
    return head;
}

QByteArray HttpExchange::takeBytes() {
    return reply_ ? reply_->readAll() : std::exchange(rest_, QByteArray());
}

std::optional<HttpError> HttpExchange::failure() const {
    if (failure_ || !reply_)
        return failure_;
    auto error = httpErrorFrom(reply_->error(), statusOf(*reply_), machineIsOffline());
    if (error && error->kind() == HttpError::Kind::ConnectionLost && endsWithConnection(*reply_))
        return std::nullopt;
    return error;
}

bool HttpExchange::hasEnded() const {
    if (abandoned_)
        throw Cancelled();
    if (reply_ && !reply_->isFinished())
        return false;
    if (const auto error = failure())
        throw *error;
    return true;
}

QCoro::Task<void> HttpExchange::waitForMore(std::shared_ptr<HttpExchange> exchange, std::stop_token token) {
    exchange->more_ = CompletionSource<void>();
    const auto more = exchange->more_.completion();
    exchange->silence_.start();
    try {
        co_await more.wait(token);
    } catch (const Cancelled&) {
        exchange->abandon();
        throw;
    }
}

QCoro::Task<HttpHead> HttpExchange::readHead(std::shared_ptr<HttpExchange> exchange, std::stop_token token) {
    while (!exchange->hasHead()) {
        if (exchange->hasEnded())
            throw HttpError(HttpError::Kind::BrokenReply, 0, QStringLiteral("no status line"));
        auto wait = waitForMore(exchange, token);
        co_await wait;
    }
    co_return exchange->head();
}

QCoro::Task<std::optional<QByteArray>> HttpExchange::readBody(std::shared_ptr<HttpExchange> exchange,
                                                              std::stop_token token) {
    for (;;) {
        if (token.stop_requested()) {
            exchange->abandon();
            throw Cancelled();
        }
        QByteArray bytes = exchange->takeBytes();
        if (!bytes.isEmpty())
            co_return std::optional<QByteArray>(std::move(bytes));
        if (exchange->hasEnded())
            co_return std::optional<QByteArray>();
        auto wait = waitForMore(exchange, token);
        co_await wait;
    }
}

} // namespace teskal
