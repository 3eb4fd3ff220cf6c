#include "LateAuthSession.h"

namespace teskal {

QCoro::Task<QUrl> LateAuthSession::run(QUrl authorizationUrl, std::stop_token token) {
    if (!session_)
        session_ = make_();
    auto callback = session_->run(std::move(authorizationUrl), std::move(token));
    co_return co_await std::move(callback);
}

} // namespace teskal
