#include "NetworkRequest.h"

#include "HttpError.h"

namespace teskal {

namespace {

void requireHttp(const QUrl& url) {
    const bool isHttp = url.scheme() == QLatin1String("https") || url.scheme() == QLatin1String("http");
    if (!url.isValid() || url.host().isEmpty() || !isHttp)
        throw HttpError(HttpError::Kind::Other, 0, QStringLiteral("not an http address"));
}

bool staysOnItsLine(const QByteArray& text) {
    return !text.contains('\r') && !text.contains('\n') && !text.contains('\0');
}

} // namespace

QNetworkRequest networkRequestFrom(const HttpRequest& request) {
    requireHttp(request.url);
    QNetworkRequest out(request.url);
    out.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
    out.setAttribute(QNetworkRequest::CookieLoadControlAttribute, QNetworkRequest::Manual);
    out.setAttribute(QNetworkRequest::CookieSaveControlAttribute, QNetworkRequest::Manual);
    out.setAttribute(QNetworkRequest::AuthenticationReuseAttribute, QNetworkRequest::Manual);
    out.setAttribute(QNetworkRequest::CacheSaveControlAttribute, false);
    out.setAttribute(QNetworkRequest::Http2AllowedAttribute, false);
    out.setAttribute(QNetworkRequest::DoNotBufferUploadDataAttribute, true);
    out.setRawHeader(QByteArrayLiteral("User-Agent"), QByteArrayLiteral("Teskal"));
    out.setRawHeader(QByteArrayLiteral("Accept-Encoding"), QByteArrayLiteral("identity"));
    for (const auto& [name, value] : request.headers.fields()) {
        if (name.isEmpty() || !staysOnItsLine(name) || !staysOnItsLine(value))
            throw HttpError(HttpError::Kind::Other, 0, QStringLiteral("header not sendable"));
        out.setRawHeader(name, value);
    }
    return out;
}

} // namespace teskal
