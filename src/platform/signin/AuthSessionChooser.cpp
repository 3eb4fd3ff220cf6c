#include "AuthSessionChooser.h"

namespace teskal {

QCoro::Task<QUrl> AuthSessionChooser::run(QUrl authorizationUrl, std::stop_token token) {
    auto check = linksComeHere_(token);
    AuthSession* chosen = co_await check ? &browser_ : &sheet_;
    auto session = chosen->run(authorizationUrl, token);
    co_return co_await session;
}

} // namespace teskal
