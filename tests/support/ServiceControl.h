#pragma once

#include "LocalService.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QString>

namespace teskal::test {

/// Tells the local service what to do with the next requests, and asks it what it was asked. A refused
/// command ends the test program.
class ServiceControl {
public:
    /// \a service must outlive the control.
    explicit ServiceControl(const LocalService& service) : service_(service) {}

    /// What to do with the first request that matches; see the service's README.
    void next(const QJsonObject& override);
    /// Holds replies back before their headers, or after \a afterBytes of their body when that is not
    /// negative.
    void hold(const QString& path, int afterBytes = -1);
    void releaseAll();
    /// Waits until \a count requests below \a path are "received", "held" or "finished".
    bool wait(const QString& path, const QString& state, int count = 1);
    /// The requests below \a path, in the order of their arrival.
    QJsonArray requests(const QString& path);
    QJsonObject lastRequest(const QString& path) { return requests(path).last().toObject(); }

    /// Posts to /control/<what>.
    QJsonObject post(const QString& what, const QJsonValue& body);
    /// One of the numbers of /control/state.
    int count(const QString& what);

    /// Opens \a authorizeUrl as a browser whose user consents, and returns where the provider sends it.
    QUrl visit(const QUrl& authorizeUrl) { return QUrl::fromEncoded(send("GET", authorizeUrl).location); }
    /// Signs in, as the user with that address when there is one, and returns an access token.
    QString accessToken(const QString& email = {});

private:
    struct Reply {
        int status;
        QByteArray body;
        QByteArray location;
    };
    Reply send(const QByteArray& method, const QUrl& url, const QByteArray& contentType = {},
               const QByteArray& body = {});

    const LocalService& service_;
    QNetworkAccessManager network_;
};

} // namespace teskal::test
