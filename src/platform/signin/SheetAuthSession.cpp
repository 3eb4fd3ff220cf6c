#include "SheetAuthSession.h"

#include "AuthError.h"
#include "CallbackLink.h"
#include "CallbackSchemeHandler.h"
#include "Completion.h"
#include "SignInSheet.h"

#include <QWebEngineProfile>

namespace teskal {

namespace {

/// Takes the sheet off the screen on every way out of a run. Deleting it waits for the event loop: the run
/// may end inside one of its own signals.
struct SheetCloser {
    explicit SheetCloser(QPointer<SignInSheet> sheet_) : sheet(std::move(sheet_)) {}
    ~SheetCloser() {
        if (!sheet)
            return;
        sheet->disconnect();
        sheet->hide();
        sheet->deleteLater();
    }
    SheetCloser(const SheetCloser&) = delete;
    SheetCloser& operator=(const SheetCloser&) = delete;

    QPointer<SignInSheet> sheet;
};

} // namespace

SheetAuthSession::SheetAuthSession(const QString& storageSuffix, Anchor anchor)
    : storageName_(QStringLiteral("signin") + storageSuffix), anchor_(std::move(anchor)) {}

SheetAuthSession::~SheetAuthSession() {
    delete sheet_; // its page must go before the profile
}

SignInSheet* SheetAuthSession::sheet() const {
    return sheet_;
}

QCoro::Task<QUrl> SheetAuthSession::run(QUrl authorizationUrl, std::stop_token token) {
    if (!isWebPage(authorizationUrl))
        throw AuthError::server(
            QStringLiteral("The sign-in page didn’t load. Check your connection and try again."));
    if (!profile_) {
        profile_ = std::make_unique<QWebEngineProfile>(storageName_);
        redirects_ = new CallbackSchemeHandler(*profile_);
    }
    delete sheet_; // of a run that has just ended
    auto ended = std::make_shared<CompletionSource<QUrl>>();
    sheet_ = new SignInSheet(*profile_, authorizationUrl, anchor_());
    const SheetCloser closer(sheet_);
    QObject::connect(redirects_, &CallbackSchemeHandler::calledBack, sheet_, &SignInSheet::finish);
    QObject::connect(sheet_, &SignInSheet::calledBack, sheet_,
                     [ended](const QUrl& link) { ended->succeed(link); });
    QObject::connect(sheet_, &QDialog::rejected, sheet_,
                     [ended] { ended->failWith(AuthError::cancelled()); });
    // The window under the sheet may go and take it along.
    QObject::connect(sheet_, &QObject::destroyed, [ended] { ended->failWith(AuthError::cancelled()); });
    sheet_->open();
    const auto completion = ended->completion();
    co_return co_await completion.wait(token);
}

} // namespace teskal
