#pragma once

#include "ManualClock.h"
#include "Pending.h"
#include "RawHttpServer.h"
#include "TeskalAPI.h"

namespace teskal::test {

/// A client of a scripted service on a clock that stands still.
class ApiClient {
public:
    explicit ApiClient(const QUrl& origin, const QString& accessToken = u"token"_qs,
                       const QString& version = u"2.5"_qs);

    ManualClock clock;
    HttpSession session{clock};
    TeskalAPI api;
    int tokensGiven = 0;
};

/// The failure in \a error in one line: "API 404 CODE: text" (- for no code), "HTTP 3" (kind), "JSON",
/// "Cancelled" or "error: …".
QString describe(const std::exception_ptr& error);

/// How a call ended.
template<typename T>
struct Ended {
    std::optional<typename detail::Outcome<T>::Value> value;
    QString failure; ///< as describe() words it; empty when there is a value
};

/// Runs the event loop to the end of \a call.
template<typename T>
Ended<T> ended(Pending<T>& call) {
    Ended<T> ended;
    try {
        if constexpr (std::is_void_v<T>) {
            call.result();
            ended.value = true;
        } else {
            ended.value = call.result();
        }
    } catch (...) {
        ended.failure = describe(std::current_exception());
    }
    return ended;
}

/// "PUT /api/chats {"chat": …}": the only request that \a server got, and that it came from this client.
QString onlyRequest(const RawHttpServer& server, const QByteArray& token = "token");

} // namespace teskal::test
