#pragma once

#include "ManualClock.h"
#include "Pending.h"
#include "RawHttpServer.h"
#include "TeskalAPI.h"

namespace teskal::test {

/// The failure in \a error in one line: "API 404 CODE: text" (- for no code), "HTTP 3" (kind), "JSON",
/// "Cancelled" or "error: …".
QString describe(const std::exception_ptr& error);

/// How a call ended.
template<typename T>
struct Ended {
    std::optional<typename detail::Outcome<T>::Value> value;
    QString failure; ///< as describe() words it; empty when there is a value
};

/// A client on a clock that stands still, and the scripted service that it calls.
class ApiClient {
public:
    /// The first request is answered with \a reply.
    explicit ApiClient(const RawReply& reply, const QString& accessToken = u"token"_qs,
                       const QString& version = u"2.5"_qs)
        : ApiClient(QUrl(), accessToken, version) {
        server.enqueue(reply);
    }
    /// Of another service when \a origin is not empty.
    explicit ApiClient(const QUrl& origin = {}, const QString& accessToken = u"token"_qs,
                       const QString& version = u"2.5"_qs);

    /// Runs a call of the API to its end.
    template<typename T, typename... Parameter, typename... Argument>
    Ended<T> run(QCoro::Task<T> (TeskalAPI::*call)(Parameter...) const, const Argument&... arguments) const {
        auto pending =
            start([&](std::stop_token stop) { return (api.*call)(arguments..., std::move(stop)); });
        Ended<T> ended;
        try {
            if constexpr (std::is_void_v<T>) {
                pending.result();
                ended.value = true;
            } else {
                ended.value = pending.result();
            }
        } catch (...) {
            ended.failure = describe(std::current_exception());
        }
        return ended;
    }
    /// "PUT /api/chats {"chat": …}": the only request that the server got, and that it came from this client.
    QString onlyRequest(const QByteArray& token = "token") const;

    RawHttpServer server;
    ManualClock clock;
    HttpSession session{clock};
    TeskalAPI api;
    int tokensGiven = 0;
};

} // namespace teskal::test
