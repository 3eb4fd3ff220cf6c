#include "HttpSession.h"

#include "BodyReading.h"
#include "Cancelled.h"
#include "Completion.h"
#include "HttpExchange.h"
#include "ManagerPool.h"
#include "RedirectPolicy.h"

namespace teskal {

namespace {

/// What a request needs from its session, by value for the coroutines.
struct Wire {
    Wire(std::shared_ptr<ManagerPool> pool_, Clock* clock_) : pool(std::move(pool_)), clock(clock_) {}

    std::shared_ptr<ManagerPool> pool;
    Clock* clock;
    std::optional<Completion<void>> held; ///< until when nothing is sent
};

class ReplyStream final : public HttpStream {
public:
    ReplyStream(std::shared_ptr<HttpExchange> exchange, HttpHead head)
        : exchange_(std::move(exchange)), head_(std::move(head)) {}
    ~ReplyStream() override { exchange_->abandon(); }

    const HttpHead& head() const override { return head_; }
    QCoro::Task<std::optional<QByteArray>> read(std::stop_token token) override {
        return HttpExchange::readBody(exchange_, std::move(token));
    }

private:
    std::shared_ptr<HttpExchange> exchange_;
    HttpHead head_;
};

/// A body that came compressed although only identity was asked for cannot be read. An error status is
/// passed on all the same: it says more than its body.
void requireIdentity(const HttpHead& head) {
    const auto encoding = head.headers.value(QByteArrayLiteral("Content-Encoding"));
    if (isSuccess(head.status) && encoding &&
        encoding->trimmed().compare("identity", Qt::CaseInsensitive) != 0)
        throw HttpError(HttpError::Kind::BrokenReply, 0, QStringLiteral("unrequested content encoding"));
}

QCoro::Task<std::unique_ptr<HttpStream>> openOn(Wire wire, HttpRequest request, std::stop_token token) {
    if (wire.held)
        co_await wire.held->wait(token);
    for (int followed = 0;; ++followed) {
        if (token.stop_requested())
            throw Cancelled();
        const auto exchange = std::make_shared<HttpExchange>(wire.pool, *wire.clock, request);
        auto reading = HttpExchange::readHead(exchange, token);
        HttpHead head = co_await reading;
        const auto target = redirectTarget(request, head, followed);
        if (!target) {
            requireIdentity(head);
            std::unique_ptr<HttpStream> stream = std::make_unique<ReplyStream>(exchange, std::move(head));
            co_return stream;
        }
        exchange->abandon();
        request.url = *target;
    }
}

void requireFit(const HttpHead& head, qint64 size, qint64 limit) {
    bool isNumber = false;
    const auto announced = head.headers.value(QByteArrayLiteral("Content-Length"));
    const qint64 length = announced ? announced->toLongLong(&isNumber) : 0;
    if (size > limit || (isNumber && length > limit))
        throw HttpError(HttpError::Kind::TooLarge, 0, QStringLiteral("more than %1 bytes").arg(limit));
}

QCoro::Task<HttpResponse> fetchOn(Wire wire, HttpRequest request, std::stop_token token) {
    const qint64 limit = request.maxBodySize;
    auto opening = openOn(std::move(wire), std::move(request), token);
    const std::unique_ptr<HttpStream> stream = co_await opening;
    HttpResponse response;
    response.head = stream->head();
    for (;;) {
        requireFit(response.head, response.body.size(), limit);
        auto reading = stream->read(token);
        const std::optional<QByteArray> bytes = co_await reading;
        if (!bytes)
            co_return response;
        response.body.append(*bytes);
    }
}

QCoro::Task<HttpResponse> downloadOn(Wire wire, HttpRequest request, QString destination,
                                     std::stop_token token) {
    auto opening = openOn(std::move(wire), std::move(request), token);
    std::unique_ptr<HttpStream> stream = co_await opening;
    HttpResponse response;
    response.head = stream->head();
    if (isSuccess(response.head.status)) {
        auto saving = saveRest(std::move(stream), destination, token);
        co_await saving;
    } else {
        auto reading = readErrorBody(stream.get(), token);
        response.body = co_await reading;
    }
    co_return response;
}

} // namespace

class HttpSession::Private {
public:
    explicit Private(Clock& clock) : wire(std::make_shared<ManagerPool>(), &clock) {}
    Wire wire;
    std::optional<CompletionSource<void>> hold;
};

HttpSession::HttpSession(Clock& clock) : d_(std::make_unique<Private>(clock)) {}

HttpSession::~HttpSession() = default;

void HttpSession::hold() {
    d_->hold.emplace();
    d_->wire.held = d_->hold->completion();
}

void HttpSession::release() {
    d_->wire.held.reset();
    if (d_->hold)
        d_->hold->succeed();
}

QCoro::Task<HttpResponse> HttpSession::fetch(HttpRequest request, std::stop_token token) {
    return fetchOn(d_->wire, std::move(request), std::move(token));
}

QCoro::Task<std::unique_ptr<HttpStream>> HttpSession::open(HttpRequest request, std::stop_token token) {
    return openOn(d_->wire, std::move(request), std::move(token));
}

QCoro::Task<HttpResponse> HttpSession::download(HttpRequest request, QString destination,
                                                std::stop_token token) {
    return downloadOn(d_->wire, std::move(request), std::move(destination), std::move(token));
}

} // namespace teskal
