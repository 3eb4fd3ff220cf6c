#pragma once

#include "AuthSession.h"
#include "Completion.h"

#include <QList>

#include <optional>

namespace teskal::test {

/// A provider's page on which nothing happens until the test answers.
class FakeAuthSession final : public AuthSession {
public:
    QList<QUrl> opened;

    QCoro::Task<QUrl> run(QUrl authorizationUrl, std::stop_token token) override {
        opened += authorizationUrl;
        answer_ = CompletionSource<QUrl>();
        const auto completion = answer_.completion();
        co_return co_await completion.wait(token);
    }

    void callBack(const QUrl& url) { answer_.succeed(url); }
    template<typename E>
    void fail(const E& error) {
        answer_.failWith(error);
    }

private:
    CompletionSource<QUrl> answer_;
};

} // namespace teskal::test
