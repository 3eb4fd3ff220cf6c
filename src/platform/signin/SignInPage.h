#pragma once

#include <QWebEnginePage>

namespace teskal {

/// The page that shows the provider. It goes nowhere but to web pages, opens no windows, and stops at the
/// callback link, which never reaches the network or the desktop.
class SignInPage final : public QWebEnginePage {
    Q_OBJECT
public:
    using QWebEnginePage::QWebEnginePage;

Q_SIGNALS:
    /// The provider sends the user back. It holds a code: it must not be logged.
    void calledBack(const QUrl& link);

protected:
    bool acceptNavigationRequest(const QUrl& url, NavigationType type, bool isMainFrame) override;
    /// What the provider's scripts print may quote addresses with codes.
    void javaScriptConsoleMessage(JavaScriptConsoleMessageLevel, const QString&, int,
                                  const QString&) override {}
};

} // namespace teskal
