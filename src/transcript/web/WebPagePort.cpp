#include "WebPagePort.h"

#include "BundleSchemeHandler.h"
#include "LocalOnlyInterceptor.h"
#include "Log.h"
#include "PageChannel.h"
#include "TeskalScheme.h"
#include "TranscriptPage.h"

#include <QFile>
#include <QWebChannel>
#include <QWebEngineProfile>
#include <QWebEngineScript>
#include <QWebEngineScriptCollection>
#include <QWebEngineSettings>

namespace teskal {

namespace {

/// Gives the page its handler at once; what it posts before the channel is up waits in line.
constexpr char handlerScript[] = R"js(
(() => {
    const waiting = [];
    let receive = (message) => waiting.push(message);
    window.webkit = { messageHandlers: { teskal: { postMessage: (message) => receive(message) } } };
    new QWebChannel(qt.webChannelTransport, (channel) => {
        receive = (message) => channel.objects.teskal.receive(message);
        waiting.splice(0).forEach((message) => receive(message));
    });
})();
)js";

/// Runs before the document has its root element, and sets the theme in the same turn in which that appears.
constexpr char themeScript[] = R"js(
new MutationObserver((_, observer) => {
    if (!document.documentElement) return;
    observer.disconnect();
    document.documentElement.dataset.theme = '%1';
}).observe(document, { childList: true });
)js";

QString channelScript() {
    QFile file(QStringLiteral(":/qtwebchannel/qwebchannel.js"));
    if (!file.open(QIODevice::ReadOnly))
        qFatal("the web channel's script is missing from the Qt installation");
    return QString::fromUtf8(file.readAll());
}

} // namespace

WebPagePort::WebPagePort(const RendererFiles& files, QObject* parent)
    : PagePort(parent), profile_(std::make_unique<QWebEngineProfile>()),
      channelObject_(new PageChannel(this)), channel_(new QWebChannel(this)) {
    profile_->setHttpCacheType(QWebEngineProfile::NoCache);
    profile_->setPersistentCookiesPolicy(QWebEngineProfile::NoPersistentCookies);
    profile_->setSpellCheckEnabled(false);
    profile_->setUrlRequestInterceptor(new LocalOnlyInterceptor(profile_.get()));
    profile_->installUrlSchemeHandler(teskalScheme, new BundleSchemeHandler(files, profile_.get()));

    page_ = std::make_unique<TranscriptPage>(profile_.get());
    channel_->registerObject(QStringLiteral("teskal"), channelObject_);
    page_->setWebChannel(channel_);
    addScript(QStringLiteral("channel"), channelScript() + QLatin1String(handlerScript));

    connect(channelObject_, &PageChannel::received, this, &PagePort::messageReceived);
    connect(page_.get(), &TranscriptPage::linkActivated, this, &WebPagePort::linkActivated);
    connect(page_.get(), &QWebEnginePage::renderProcessTerminated, this,
            [this](QWebEnginePage::RenderProcessTerminationStatus status) {
                if (status != QWebEnginePage::NormalTerminationStatus)
                    logLine(QStringLiteral("transcript: the page's process ended; the page is loaded again"));
                Q_EMIT processEnded();
            });
}

WebPagePort::~WebPagePort() {
    // The page must go before its profile.
    page_.reset();
}

void WebPagePort::addScript(const QString& name, const QString& source) {
    for (const QWebEngineScript& old : page_->scripts().find(name))
        page_->scripts().remove(old);
    QWebEngineScript script;
    script.setName(name);
    script.setSourceCode(source);
    script.setInjectionPoint(QWebEngineScript::DocumentCreation);
    script.setWorldId(QWebEngineScript::MainWorld);
    script.setRunsOnSubFrames(false);
    page_->scripts().insert(script);
}

void WebPagePort::setFirstLook(PageTheme theme, const QColor& background) {
    page_->setBackgroundColor(background);
    addScript(
        QStringLiteral("theme"),
        QString::fromLatin1(themeScript).arg(QLatin1String(theme == PageTheme::Dark ? "dark" : "light")));
}

void WebPagePort::setFonts(const QString& text, const QString& code) {
    page_->settings()->setFontFamily(QWebEngineSettings::StandardFont, text);
    page_->settings()->setFontFamily(QWebEngineSettings::SansSerifFont, text);
    page_->settings()->setFontFamily(QWebEngineSettings::FixedFont, code);
}

void WebPagePort::load() {
    page_->load(TranscriptPage::address());
}

void WebPagePort::reload() {
    // Not from inside the engine's own signal.
    QMetaObject::invokeMethod(this, &WebPagePort::load, Qt::QueuedConnection);
}

void WebPagePort::call(const QByteArray& function, const QList<QByteArray>& arguments) {
    // The arguments are JSON texts, which are JavaScript literals as they stand: nothing is glued from text
    // that anyone else wrote. A wrapper that returns the error is needed because a failure inside does not
    // come back.
    QByteArray script = "((...a) => { try { window.teskal." + function +
                        "(...a); return ''; } catch (e) { return String(e); } })(";
    script += arguments.join(',');
    script += ')';
    page_->runJavaScript(QString::fromUtf8(script), QWebEngineScript::MainWorld, [](const QVariant& result) {
        const QString error = result.toString();
        if (!error.isEmpty())
            logLine(QStringLiteral("transcript: ") + error);
    });
}

} // namespace teskal
