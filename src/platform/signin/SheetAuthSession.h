#pragma once

#include "AuthSession.h"

#include <QPointer>
#include <QString>
#include <QWidget>

#include <functional>
#include <memory>

class QWebEngineProfile;

namespace teskal {

class CallbackSchemeHandler;
class SignInSheet;

/// A sign-in in a sheet with a web view of its own. Its cookies stay on disk, apart from everything else, so
/// that the provider's login is remembered; closing the sheet is the cancellation. Main thread only.
class SheetAuthSession final : public AuthSession {
public:
    /// The window over which the sheet is shown; null shows it on its own.
    using Anchor = std::function<QWidget*()>;

    /// \a storageSuffix as in Config; the profile is made at the first sign-in.
    SheetAuthSession(const QString& storageSuffix, Anchor anchor);
    ~SheetAuthSession() override;

    QCoro::Task<QUrl> run(QUrl authorizationUrl, std::stop_token token) override;

    /// The sheet on screen, null when there is none.
    SignInSheet* sheet() const;

private:
    QString storageName_;
    Anchor anchor_;
    std::unique_ptr<QWebEngineProfile> profile_;
    CallbackSchemeHandler* redirects_ = nullptr; // the profile's
    QPointer<SignInSheet> sheet_;
};

} // namespace teskal
