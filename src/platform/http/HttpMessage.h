#pragma once

#include <QByteArray>
#include <QList>
#include <QUrl>

#include <chrono>
#include <optional>
#include <utility>

namespace teskal {

/// Header fields in the order received. Names compare without case.
class HttpHeaders {
public:
    void append(const QByteArray& name, const QByteArray& value) { fields_.append({name, value}); }
    /// The first value of \a name, none when the field is absent.
    std::optional<QByteArray> value(const QByteArray& name) const;
    const QList<std::pair<QByteArray, QByteArray>>& fields() const { return fields_; }

private:
    QList<std::pair<QByteArray, QByteArray>> fields_;
};

/// A request, and how much of its reply is waited for.
struct HttpRequest {
    HttpRequest(QByteArray method_, QUrl url_) : method(std::move(method_)), url(std::move(url_)) {}

    QByteArray method;
    QUrl url;
    HttpHeaders headers;
    std::optional<QByteArray> body;
    /// How long nothing may move on the wire before the request ends as TimedOut.
    std::chrono::milliseconds timeout{60'000};
    /// Larger bodies end as TooLarge (whole-body requests only), in bytes.
    qint64 maxBodySize = 64 * 1024 * 1024;
    /// Whether a GET goes on to where a redirect within its origin sends it.
    bool followsRedirects = true;
    /// Long answers get a connection pool of their own, so that they never hold up short requests.
    bool ownConnection = false;
};

inline bool isSuccess(int status) {
    return status >= 200 && status <= 299;
}

/// Status and headers, before the body.
struct HttpHead {
    int status = 0;
    HttpHeaders headers;
};

/// A whole reply.
struct HttpResponse {
    HttpHead head;
    QByteArray body;
};

} // namespace teskal
