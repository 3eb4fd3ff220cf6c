#pragma once

#include "HttpError.h"
#include "HttpMessage.h"

#include <QCoroTask>

#include <memory>
#include <optional>
#include <stop_token>

namespace teskal {

class Clock;

/// A reply whose body is read piece by piece. Destroying it gives the reply up.
class HttpStream {
public:
    virtual ~HttpStream() = default;

    virtual const HttpHead& head() const = 0;
    /// The next bytes of the body, in order, never empty; none at its end. Throws HttpError when the reply
    /// breaks off or nothing comes for the request's time-out, Cancelled when \a token is set. One read at a
    /// time. Bytes that arrived before a failure are delivered before it is thrown.
    virtual QCoro::Task<std::optional<QByteArray>> read(std::stop_token token) = 0;
};

/// The process's HTTP: no cookies, no cache, the system's proxies, identity encoding. Only a GET follows
/// redirects, at most five, and only within its origin; any other 3xx is returned as it is. No request is
/// ever sent twice. Nothing here knows paths or tokens, and nothing logs a URL or a header.
///
/// Setting the token of a call gives its request up and ends the call in Cancelled; failures are HttpError;
/// every status is a success here. Main thread only; must outlive its streams.
class HttpSession {
public:
    explicit HttpSession(Clock& clock);
    ~HttpSession();
    HttpSession(const HttpSession&) = delete;
    HttpSession& operator=(const HttpSession&) = delete;

    /// From now on requests wait until release() before anything is done about them; their time-outs begin
    /// then, too.
    void hold();
    void release();

    /// Sends \a request and waits for the whole body.
    QCoro::Task<HttpResponse> fetch(HttpRequest request, std::stop_token token);
    /// Sends \a request and returns as soon as status and headers are there.
    QCoro::Task<std::unique_ptr<HttpStream>> open(HttpRequest request, std::stop_token token);
    /// Sends \a request and, when its status is 200 to 299, writes the body to the file \a destination, which
    /// is there whole or not at all; the folder must exist. The body of the response is empty then, and the
    /// server's words (if they arrive) for any other status. Throws FileError too.
    QCoro::Task<HttpResponse> download(HttpRequest request, QString destination, std::stop_token token);

private:
    class Private;
    std::unique_ptr<Private> d_;
};

} // namespace teskal
