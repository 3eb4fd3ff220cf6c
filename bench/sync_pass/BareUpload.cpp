#include "BareUpload.h"

#include <QEventLoop>
#include <QNetworkAccessManager>
#include <QNetworkReply>

#include <memory>
#include <stdexcept>

namespace teskal::bench {

void putAll(const QUrl& url, const QString& accessToken, const QList<QByteArray>& bodies) {
    QNetworkAccessManager network;
    QNetworkRequest request(url);
    request.setHeader(QNetworkRequest::ContentTypeHeader, QByteArrayLiteral("application/json"));
    request.setRawHeader("Authorization", "Bearer " + accessToken.toUtf8());
    for (const QByteArray& body : bodies) {
        const std::unique_ptr<QNetworkReply> reply(network.put(request, body));
        QEventLoop loop;
        QObject::connect(reply.get(), &QNetworkReply::finished, &loop, &QEventLoop::quit);
        loop.exec();
        if (reply->error() != QNetworkReply::NoError)
            throw std::runtime_error("the service refuses a chat");
    }
}

} // namespace teskal::bench
