#pragma once

#include "HttpSession.h"

#include <QJsonObject>
#include <QUrl>

namespace teskal::test {

/// The local service seen from a test: its control interface, and the browser's part of a sign-in.
class ProviderControl {
public:
    ProviderControl(HttpSession& http, const QUrl& origin) : http_(http), origin_(origin) {}

    /// Posts \a body to /control/\a name.
    void tell(const QString& name, const QJsonObject& body);
    QJsonObject state();
    /// Opens \a authorizeUrl as a browser whose user consents, and returns where the provider sends it.
    QUrl visit(const QUrl& authorizeUrl);

private:
    HttpSession& http_;
    QUrl origin_;
};

} // namespace teskal::test
