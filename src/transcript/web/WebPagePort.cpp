#include "WebPagePort.h"

#include "BundleSchemeHandler.h"
#include "JsonWriter.h"
#include "LocalOnlyInterceptor.h"
#include "Log.h"
#include "MessageDisplay.h"
#include "PageChannel.h"
#include "PageScripts.h"
#include "TeskalScheme.h"
#include "TranscriptPage.h"

#include <QFile>
#include <QPointer>
#include <QWebChannel>
#include <QWebEngineProfile>
#include <QWebEngineScript>
#include <QWebEngineScriptCollection>
#include <QWebEngineSettings>

namespace teskal {

namespace {

std::unique_ptr<QWebEngineProfile> makeProfile() {
    registerTeskalScheme();
    return std::make_unique<QWebEngineProfile>();
}

QString channelScript() {
    QFile file(QStringLiteral(":/qtwebchannel/qwebchannel.js"));
    if (!file.open(QIODevice::ReadOnly))
        qFatal("the web channel's script is missing from the Qt installation");
    return QString::fromUtf8(file.readAll());
}

/// \a json, one JSON text, as a JavaScript expression for the same value. It is one as it stands, but for the
/// name that gives an object literal another prototype instead of a member.
QByteArray expression(const QByteArray& json) {
    const bool mayNamePrototype =
        json.contains("__proto__") || json.contains("\\u005f") || json.contains("\\u005F");
    return mayNamePrototype ? "JSON.parse(" + jsonString(QString::fromUtf8(json)) + ')' : json;
}

} // namespace

WebPagePort::WebPagePort(const RendererFiles& renderer, FileSource* files, QObject* parent)
    : PagePort(parent), profile_(makeProfile()), channelObject_(new PageChannel(this)),
      channel_(new QWebChannel(this)) {
    profile_->setHttpCacheType(QWebEngineProfile::NoCache);
    profile_->setPersistentCookiesPolicy(QWebEngineProfile::NoPersistentCookies);
    profile_->setSpellCheckEnabled(false);
    profile_->setUrlRequestInterceptor(new LocalOnlyInterceptor(profile_.get()));
    profile_->installUrlSchemeHandler(
        teskalScheme, new BundleSchemeHandler(renderer, files, inlineFiles(), profile_.get()));

    page_ = std::make_unique<TranscriptPage>(profile_.get());
    channel_->registerObject(QStringLiteral("teskal"), channelObject_);
    page_->setWebChannel(channel_);
    addScript(QStringLiteral("channel"), channelScript() + QLatin1String(pageScripts::handler));
    addScript(QStringLiteral("port"), QString::fromLatin1(pageScripts::port));

    connect(channelObject_, &PageChannel::received, this, &WebPagePort::receive);
    connect(page_.get(), &TranscriptPage::linkActivated, this, &WebPagePort::linkActivated);
    connect(page_.get(), &QWebEnginePage::renderProcessTerminated, this, &WebPagePort::processTerminated);
    connect(page_.get(), &QWebEnginePage::loadFinished, this, [this](bool succeeded) {
        if (succeeded)
            checkScripts();
    });
}

WebPagePort::~WebPagePort() {
    // The page must go before its profile.
    page_.reset();
    profile_.reset(); // and what serves it, before the files that it serves
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
    addScript(QStringLiteral("theme"), QString::fromLatin1(pageScripts::theme)
                                           .arg(QLatin1String(theme == PageTheme::Dark ? "dark" : "light")));
}

void WebPagePort::setFonts(const QString& text, const QString& code) {
    page_->settings()->setFontFamily(QWebEngineSettings::StandardFont, text);
    page_->settings()->setFontFamily(QWebEngineSettings::SansSerifFont, text);
    page_->settings()->setFontFamily(QWebEngineSettings::FixedFont, code);
}

void WebPagePort::load() {
    crashes_.clear();
    crashesTooOften_ = false;
    loadPage();
}

void WebPagePort::loadPage() {
    growth_.forget();
    page_->load(TranscriptPage::address());
}

void WebPagePort::reload() {
    // Not from inside the engine's own signal.
    if (crashesTooOften_)
        QMetaObject::invokeMethod(this, &WebPagePort::gaveUp, Qt::QueuedConnection);
    else
        QMetaObject::invokeMethod(this, &WebPagePort::loadPage, Qt::QueuedConnection);
}

void WebPagePort::checkScripts() {
    // A process that starts right after another has ended can come up without the page's scripts, and keeps
    // being without them until they are added again.
    page_->runJavaScript(QStringLiteral("typeof teskalPort"), [port = QPointer(this)](const QVariant& type) {
        if (port && type.toString() == QLatin1String("undefined") &&
            !std::exchange(port->restoredScripts_, true))
            port->restoreScripts();
    });
}

void WebPagePort::restoreScripts() {
    logLine(QStringLiteral("transcript: the page came up without its scripts; it is loaded again"));
    const QList<QWebEngineScript> scripts = page_->scripts().toList();
    page_->scripts().clear();
    page_->scripts().insert(scripts);
    loadPage();
}

void WebPagePort::processTerminated() {
    restoredScripts_ = false;
    logLine(QStringLiteral("transcript: the page's process ended"));
    crashesTooOften_ = crashes_.count(std::chrono::steady_clock::now());
    Q_EMIT processEnded();
}

void WebPagePort::receive(const QJsonObject& message) {
    if (message.value(QLatin1String("type")) == QLatin1String("drawn"))
        Q_EMIT drawn();
    else
        Q_EMIT messageReceived(message);
}

void WebPagePort::call(const QByteArray& function, const QList<QByteArray>& arguments) {
    const bool isSetChat = function == "setChat";
    if (isSetChat)
        letReaderGoAtOnce();
    if (function == "scrollToBottom" && readerHeld_)
        run("teskalPort.holdReaderAtEnd", {});
    run("window.teskal." + function, arguments);
    if (isSetChat) {
        growth_.forget();
        Q_EMIT contentChanged();
    }
}

void WebPagePort::upsert(const ChatMessage& message) {
    if (const auto growth = growth_.send(message)) {
        run("teskalPort.grow",
            {jsonString(message.id), QByteArray::number(growth->from), jsonString(growth->text)});
    } else {
        run("teskalPort.upsert", {displayJson(message, inlineFiles())});
    }
    Q_EMIT contentChanged();
}

void WebPagePort::holdReader() {
    readerHeld_ = true;
    run("teskalPort.holdReader", {});
}

void WebPagePort::letReaderGo() {
    if (readerHeld_)
        run("teskalPort.letReaderGoSoon", {});
}

void WebPagePort::letReaderGoAtOnce() {
    if (std::exchange(readerHeld_, false))
        run("teskalPort.letReaderGo", {});
}

void WebPagePort::run(const QByteArray& function, const QList<QByteArray>& arguments) {
    // Nothing is glued from text that anyone else wrote but JSON texts. A wrapper that returns the error is
    // needed because a failure inside does not come back; its text may quote what was said in a chat, so only
    // its name does.
    QByteArrayList values;
    for (const QByteArray& argument : arguments)
        values.append(expression(argument));
    const QByteArray script = "((...a) => { try { " + function +
                              "(...a); return ''; } catch (e) {"
                              "return /^[A-Za-z]{1,40}$/.test(e?.name) ? e.name : 'Error'; } })(" +
                              values.join(',') + ')';
    page_->runJavaScript(QString::fromUtf8(script), QWebEngineScript::MainWorld,
                         [port = QPointer(this), function](const QVariant& error) {
                             if (port && !error.toString().isEmpty())
                                 port->callFailed(function, error.toString());
                         });
}

void WebPagePort::callFailed(const QByteArray& function, const QString& error) {
    growth_.forget(); // whatever the page has now
    logLine(QStringLiteral("transcript: %1 in %2").arg(error, QString::fromLatin1(function)));
}

} // namespace teskal
