#pragma once

#include <QWebEngineUrlSchemeHandler>

class QWebEngineProfile;

namespace teskal {

/// Tells the web engine about the callback's scheme, once. Must run before the first profile is made.
void registerCallbackScheme();

/// Catches a server's redirect to the callback link. The engine does not offer redirects to the page's
/// navigation policy; a scheme that the profile itself serves is the one place where they arrive.
class CallbackSchemeHandler final : public QWebEngineUrlSchemeHandler {
    Q_OBJECT
public:
    explicit CallbackSchemeHandler(QWebEngineProfile& profile);

    void requestStarted(QWebEngineUrlRequestJob* job) override;

Q_SIGNALS:
    /// It holds a code: it must not be logged.
    void calledBack(const QUrl& link);
};

} // namespace teskal
