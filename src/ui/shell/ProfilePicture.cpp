#include "ProfilePicture.h"

#include "Cancelled.h"

#include <QBuffer>
#include <QHostAddress>
#include <QImageReader>

#include <algorithm>

namespace teskal {

namespace {

constexpr qint64 largestFile = 2 * 1024 * 1024; ///< bytes
constexpr int largestSide = 8'192;              ///< of what is decoded, in pixels
constexpr int keptSide = 128;                   ///< enough for 32 logical pixels at any scale

bool mayBeAsked(const QUrl& url) {
    const bool isHere = QHostAddress(url.host()).isLoopback();
    return url.isValid() &&
           (url.scheme() == QLatin1String("https") || (isHere && url.scheme() == QLatin1String("http")));
}

QImage decoded(QByteArray bytes) {
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer);
    reader.setAutoTransform(true);
    const QSize size = reader.size();
    if (!size.isValid() || std::max(size.width(), size.height()) > largestSide)
        return {};
    if (std::min(size.width(), size.height()) > keptSide)
        reader.setScaledSize(size.scaled(keptSide, keptSide, Qt::KeepAspectRatioByExpanding));
    return reader.read();
}

} // namespace

void ProfilePicture::setSource(const std::optional<QString>& url) {
    if (url == source_)
        return;
    source_ = url;
    job_.cancel();
    setImage({});
    const QUrl place(url.value_or(QString()), QUrl::StrictMode);
    if (mayBeAsked(place))
        job_ = scope_.launch([&](std::stop_token stop) { return load(place, std::move(stop)); });
}

QCoro::Task<void> ProfilePicture::load(QUrl url, std::stop_token stop) {
    HttpRequest request(QByteArrayLiteral("GET"), url);
    request.maxBodySize = largestFile;
    request.timeout = std::chrono::seconds(20);
    QByteArray body;
    try {
        auto asking = http_.fetch(request, stop);
        const HttpResponse response = co_await asking;
        if (isSuccess(response.head.status))
            body = response.body;
    } catch (const Cancelled&) {
        co_return; // another picture, or none, is wanted
    } catch (const HttpError&) {
        co_return; // the initials stand for it
    }
    if (!stop.stop_requested())
        setImage(decoded(body));
}

void ProfilePicture::setImage(const QImage& image) {
    if (image.isNull() && image_.isNull())
        return;
    image_ = image;
    Q_EMIT changed();
}

} // namespace teskal
