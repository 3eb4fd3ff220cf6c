#include "BrowserAuthSession.h"

#include "AuthError.h"
#include "CallbackLink.h"

#include <QDesktopServices>
#include <QPointer>

namespace teskal {

BrowserAuthSession::BrowserAuthSession(Opener open, QObject* parent)
    : QObject(parent), open_(std::move(open)) {}

BrowserAuthSession::~BrowserAuthSession() = default;

BrowserAuthSession::Opener BrowserAuthSession::systemBrowser() {
    return [](const QUrl& page) { return QDesktopServices::openUrl(page); };
}

QCoro::Task<QUrl> BrowserAuthSession::run(QUrl authorizationUrl, std::stop_token token) {
    if (wait_)
        throw AuthError::cancelled(); // one page at a time; the first keeps waiting
    const QPointer<BrowserAuthSession> self(this);
    wait_.emplace();
    wait_->page = authorizationUrl;
    const auto callback = wait_->callback.completion();
    Q_EMIT isWaitingChanged();
    openPage();
    QUrl link;
    try {
        link = co_await callback.wait(token);
    } catch (...) {
        if (self)
            self->endWait();
        throw;
    }
    if (self)
        self->endWait();
    co_return link;
}

bool BrowserAuthSession::deliver(const QString& text) {
    const auto link = callbackLinkFrom(text);
    if (!wait_ || !link)
        return false;
    wait_->callback.succeed(*link);
    return true;
}

void BrowserAuthSession::openAgain() {
    if (wait_)
        openPage();
}

void BrowserAuthSession::cancel() {
    if (wait_)
        wait_->callback.failWith(AuthError::cancelled());
}

void BrowserAuthSession::openPage() {
    const bool opened = isWebPage(wait_->page) && open_(wait_->page);
    if (opened == browserOpen_)
        return;
    browserOpen_ = opened;
    Q_EMIT isBrowserOpenChanged();
}

void BrowserAuthSession::endWait() {
    if (!wait_)
        return;
    wait_.reset();
    Q_EMIT isWaitingChanged();
}

} // namespace teskal
