#include "HttpClient.h"

namespace teskal::test {

namespace {

QCoro::Task<StreamOutcome> readEverything(HttpStream* stream, std::stop_token token) {
    StreamOutcome outcome;
    try {
        for (;;) {
            auto reading = stream->read(token);
            const std::optional<QByteArray> bytes = co_await reading;
            if (!bytes)
                break;
            outcome.bytes.append(*bytes);
        }
    } catch (const HttpError& error) {
        outcome.error = error;
    }
    co_return outcome;
}

} // namespace

Pending<HttpResponse> HttpClient::fetch(const HttpRequest& request) {
    return start([&](std::stop_token token) { return session.fetch(request, std::move(token)); });
}

Pending<std::unique_ptr<HttpStream>> HttpClient::open(const HttpRequest& request) {
    return start([&](std::stop_token token) { return session.open(request, std::move(token)); });
}

Pending<std::optional<QByteArray>> HttpClient::read(HttpStream& stream) {
    return start([&](std::stop_token token) { return stream.read(std::move(token)); });
}

Pending<StreamOutcome> HttpClient::readToEnd(HttpStream& stream) {
    return start([&](std::stop_token token) { return readEverything(&stream, std::move(token)); });
}

HttpRequest post(const QUrl& url, const QByteArray& body) {
    HttpRequest request("POST", url);
    request.body = body;
    return request;
}

} // namespace teskal::test
