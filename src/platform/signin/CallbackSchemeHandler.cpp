#include "CallbackSchemeHandler.h"

#include "AuthorizationRequest.h"

#include <QWebEngineProfile>
#include <QWebEngineUrlRequestJob>
#include <QWebEngineUrlScheme>

namespace teskal {

void registerCallbackScheme() {
    if (!QWebEngineUrlScheme::schemeByName(oauth::callbackScheme.latin1()).name().isEmpty())
        return;
    QWebEngineUrlScheme scheme(oauth::callbackScheme.latin1());
    scheme.setSyntax(QWebEngineUrlScheme::Syntax::Path); // hands the link over as it was written
    QWebEngineUrlScheme::registerScheme(scheme);
}

CallbackSchemeHandler::CallbackSchemeHandler(QWebEngineProfile& profile)
    : QWebEngineUrlSchemeHandler(&profile) {
    profile.installUrlSchemeHandler(oauth::callbackScheme.latin1(), this);
}

void CallbackSchemeHandler::requestStarted(QWebEngineUrlRequestJob* job) {
    const QUrl link = job->requestUrl();
    job->fail(QWebEngineUrlRequestJob::RequestAborted); // there is nothing to show
    Q_EMIT calledBack(link);
}

} // namespace teskal
