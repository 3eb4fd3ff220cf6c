#include "BundleSchemeHandler.h"

#include <QBuffer>
#include <QWebEngineUrlRequestJob>

namespace teskal {

BundleSchemeHandler::BundleSchemeHandler(RendererFiles files, QObject* parent)
    : QWebEngineUrlSchemeHandler(parent), files_(std::move(files)) {}

void BundleSchemeHandler::requestStarted(QWebEngineUrlRequestJob* job) {
    const QUrl url = job->requestUrl();
    const SchemeAnswer answer =
        url.host() == QLatin1String("renderer") ? files_.answer(url.path()) : SchemeAnswer();
    if (answer.status != 200)
        return job->fail(QWebEngineUrlRequestJob::UrlNotFound);
    auto* body = new QBuffer(job); // goes with the request
    body->setData(answer.body);
    job->reply(answer.contentType, body);
}

} // namespace teskal
