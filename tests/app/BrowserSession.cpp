#include "BrowserSession.h"

namespace teskal::test {

QCoro::Task<QUrl> BrowserSession::run(QUrl authorizationUrl, std::stop_token token) {
    const HttpRequest request("GET", authorizationUrl);
    auto fetching = http_.fetch(request, token);
    const HttpResponse response = co_await fetching;
    co_return QUrl::fromEncoded(response.head.headers.value("Location").value_or(QByteArray()));
}

} // namespace teskal::test
