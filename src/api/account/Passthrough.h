#pragma once

#include <QCoroTask>
#include <QUrl>

#include <optional>
#include <stop_token>

namespace teskal {

class TeskalAPI;

/// What the transcript page is told of its request.
struct PassthroughReply {
    int status = 0;
    QString contentType; ///< as received, empty when the service gave none
    QString body;

    friend bool operator==(const PassthroughReply&, const PassthroughReply&) = default;
};

/// Where a request of the transcript page for \a path goes; none when the page may not ask for it. Allowed is
/// the link preview alone, at its path or below, at the origin of \a base, however \a path is spelled: what
/// counts is where it leads.
std::optional<QUrl> passthroughUrl(const QUrl& base, const QString& path);

/// Asks the service on behalf of the transcript page, which holds no token. Any status is a reply; what is
/// not allowed is answered with 403 without asking, what fails without a reply (the page cannot tell why)
/// with 502. Redirects are not followed. Throws Cancelled only.
QCoro::Task<PassthroughReply> passthroughCall(TeskalAPI api, QString path, QString method,
                                              std::optional<QString> body, std::stop_token stop);

} // namespace teskal
