#include "TeskalScheme.h"

#include <QWebEngineUrlScheme>

namespace teskal {

void registerTeskalScheme() {
    if (!QWebEngineUrlScheme::schemeByName(teskalScheme).name().isEmpty())
        return;
    QWebEngineUrlScheme scheme(teskalScheme);
    scheme.setSyntax(QWebEngineUrlScheme::Syntax::Host);
    // Secure, so that the page counts as a secure context; CORS-enabled, because modules are loaded that way.
    scheme.setFlags(QWebEngineUrlScheme::SecureScheme | QWebEngineUrlScheme::CorsEnabled);
    QWebEngineUrlScheme::registerScheme(scheme);
}

} // namespace teskal
