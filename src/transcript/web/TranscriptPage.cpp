#include "TranscriptPage.h"

#include "Log.h"

#include <QWebEngineFullScreenRequest>
#include <QWebEngineNewWindowRequest>
#include <QWebEngineSettings>

namespace teskal {

const QUrl& TranscriptPage::address() {
    static const QUrl url(QStringLiteral("teskal-app://renderer/index.html"));
    return url;
}

TranscriptPage::TranscriptPage(QWebEngineProfile* profile, QObject* parent)
    : QWebEnginePage(profile, parent) {
    using Attribute = QWebEngineSettings::WebAttribute;
    for (const auto attribute :
         {Attribute::LocalStorageEnabled, Attribute::PluginsEnabled, Attribute::ErrorPageEnabled,
          Attribute::JavascriptCanOpenWindows, Attribute::JavascriptCanAccessClipboard,
          Attribute::PdfViewerEnabled, Attribute::LocalContentCanAccessFileUrls,
          Attribute::LocalContentCanAccessRemoteUrls, Attribute::DnsPrefetchEnabled,
          Attribute::NavigateOnDropEnabled, Attribute::HyperlinkAuditingEnabled, Attribute::WebGLEnabled,
          Attribute::ScreenCaptureEnabled})
        settings()->setAttribute(attribute, false);
    settings()->setAttribute(Attribute::FullScreenSupportEnabled, true);
    connect(this, &QWebEnginePage::fullScreenRequested, this, [this](QWebEngineFullScreenRequest request) {
        request.accept();
        Q_EMIT fullScreenChanged(request.toggleOn());
    });
    connect(this, &QWebEnginePage::newWindowRequested, this,
            [this](const QWebEngineNewWindowRequest& request) { followLink(request.requestedUrl()); });
}

bool TranscriptPage::acceptNavigationRequest(const QUrl& url, NavigationType type, bool isMainFrame) {
    if (isMainFrame && url == address())
        return true;
    if (type == NavigationTypeLinkClicked)
        followLink(url);
    return false;
}

void TranscriptPage::followLink(const QUrl& url) {
    const QString scheme = url.scheme();
    if (scheme == QLatin1String("https") || scheme == QLatin1String("http") ||
        scheme == QLatin1String("mailto"))
        Q_EMIT linkActivated(QString::fromLatin1(url.toEncoded()));
}

void TranscriptPage::javaScriptConsoleMessage(JavaScriptConsoleMessageLevel level, const QString&, int line,
                                              const QString&) {
    // The text may quote what was said in a chat, so only the place is told.
    if (level == ErrorMessageLevel)
        logLine(QStringLiteral("transcript: an error in the page's script, line %1").arg(line));
}

} // namespace teskal
