#pragma once

#include <QWebEnginePage>

namespace teskal {

/// The engine's page: shows the transcript and nothing else, and hands links to whoever opens them.
class TranscriptPage final : public QWebEnginePage {
    Q_OBJECT

public:
    static const QUrl& address();

    explicit TranscriptPage(QWebEngineProfile* profile, QObject* parent = nullptr);

Q_SIGNALS:
    /// The user followed a link to the web or to a mail address.
    void linkActivated(const QString& url);
    /// Something in the page, a video say, takes the whole of the view or gives it back.
    void fullScreenChanged(bool full);

protected:
    bool acceptNavigationRequest(const QUrl& url, NavigationType type, bool isMainFrame) override;
    void javaScriptConsoleMessage(JavaScriptConsoleMessageLevel level, const QString& message, int line,
                                  const QString& source) override;

private:
    void followLink(const QUrl& url);
};

} // namespace teskal
