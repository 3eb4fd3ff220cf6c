#include "BundleSchemeHandler.h"

#include "ByteRange.h"

#include <QBuffer>
#include <QFile>
#include <QWebEngineUrlRequestJob>

namespace teskal {

namespace {

/// The whole resource: the engine takes the asked part out of it and says so in "Content-Range" itself. It
/// reads on a thread of its own, and a file bit by bit as the page takes it.
QIODevice* deviceFor(const SchemeBody& body, QWebEngineUrlRequestJob& job) {
    QIODevice* device = nullptr;
    if (!body.path.isEmpty()) {
        device = new QFile(body.path, &job); // goes with the request, as the other one
    } else {
        auto* memory = new QBuffer(&job);
        memory->setData(body.bytes);
        device = memory;
    }
    return device->open(QIODevice::ReadOnly) ? device : nullptr;
}

#if QT_VERSION >= QT_VERSION_CHECK(6, 6, 0)
/// Those that the engine does not make itself from the device.
QMultiMap<QByteArray, QByteArray> additionalHeaders(const SchemeResponse& response) {
    QMultiMap<QByteArray, QByteArray> headers;
    for (const QByteArrayView name : {"Accept-Ranges", "Cache-Control"})
        if (const QByteArray value = response.header(name); !value.isEmpty())
            headers.insert(name.toByteArray(), value);
    return headers;
}
#endif

void reply(QWebEngineUrlRequestJob& job, const SchemeAnswer& answer, const QByteArray& range) {
    const auto* response = std::get_if<SchemeResponse>(&answer);
    if (!response)
        return job.fail(std::get<SchemeFailure>(answer) == SchemeFailure::UserAuthenticationRequired
                            ? QWebEngineUrlRequestJob::RequestDenied
                            : QWebEngineUrlRequestJob::UrlNotFound);
    // The engine ends such a request by itself as soon as it knows the size, and then goes on with what it
    // has put away: the whole application would end.
    if (response->status == 200 && asksBeyond(range, response->body.count))
        return job.fail(QWebEngineUrlRequestJob::RequestFailed);
    QIODevice* const device = response->status == 404 ? nullptr : deviceFor(response->body, job);
    if (!device) // which the engine answers with 404
        return job.fail(QWebEngineUrlRequestJob::UrlNotFound);
    // It does not go to the last so many bytes by itself; of several ranges it takes none.
    if (!range.contains(','))
        device->seek(response->body.first);
#if QT_VERSION >= QT_VERSION_CHECK(6, 6, 0)
    job.setAdditionalResponseHeaders(additionalHeaders(*response));
#endif
    job.reply(response->header("Content-Type"), device);
}

} // namespace

BundleSchemeHandler::BundleSchemeHandler(RendererFiles renderer, FileSource* files,
                                         const InlineFiles& inlineFiles, QObject* parent)
    : QWebEngineUrlSchemeHandler(parent), requests_(std::move(renderer), files, inlineFiles) {}

void BundleSchemeHandler::requestStarted(QWebEngineUrlRequestJob* job) {
    const SchemeRequest request{job->requestUrl(), job->requestHeaders().value("Range")};
    const auto id = requests_.start(
        request, [job, range = request.range](const SchemeAnswer& answer) { reply(*job, answer, range); });
    // The engine destroys the job of a request that the page has abandoned.
    connect(job, &QObject::destroyed, this, [this, id] { requests_.stop(id); });
}

} // namespace teskal
