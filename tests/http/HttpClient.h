#pragma once

#include "Columns.h"
#include "HttpSession.h"
#include "ManualClock.h"
#include "Pending.h"
#include "RawHttpServer.h"

namespace teskal::test {

/// What a stream gave until it ended.
struct StreamOutcome {
    QByteArray bytes;
    std::optional<HttpError> error; ///< none when the body came to its end
};

/// A session on a clock that stands still, and its calls as pending coroutines.
class HttpClient {
public:
    Pending<HttpResponse> fetch(const HttpRequest& request);
    Pending<std::unique_ptr<HttpStream>> open(const HttpRequest& request);
    /// \a stream must outlive the call unless the test is about just that.
    static Pending<std::optional<QByteArray>> read(HttpStream& stream);
    static Pending<StreamOutcome> readToEnd(HttpStream& stream);

    ManualClock clock;
    HttpSession session{clock};
};

/// What \a call, which is pending, fails with. It must fail.
template<typename Call>
HttpError errorOf(Call&& call) {
    return call.template error<HttpError>().value();
}

inline HttpRequest get(const QUrl& url) {
    return HttpRequest("GET", url);
}

HttpRequest post(const QUrl& url, const QByteArray& body);

} // namespace teskal::test
