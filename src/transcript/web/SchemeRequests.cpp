#include "SchemeRequests.h"

#include "InlineFiles.h"
#include "StoredFileResponse.h"

namespace teskal {

namespace {

SchemeAnswer answerFor(const FileLookup& found, const QString& fileId, const QByteArray& wanted) {
    if (const auto* file = std::get_if<PageFile>(&found))
        return storedFileResponse(*file, fileId, wanted);
    if (std::get<FileAbsence>(found) == FileAbsence::NoAccount)
        return SchemeFailure::UserAuthenticationRequired;
    return SchemeResponse();
}

} // namespace

SchemeRequests::SchemeRequests(RendererFiles renderer, FileSource* files, const InlineFiles& inlineFiles)
    : renderer_(std::move(renderer)), files_(files), inlineFiles_(inlineFiles) {}

SchemeRequests::Id SchemeRequests::start(const SchemeRequest& request, Deliver deliver) {
    const Id id = ++lastId_;
    live_.emplace(id, Live{std::move(deliver), {}});
    const QString host = request.url.host();
    if (host == QLatin1String("file"))
        answerWithFile(id, request.url.fileName(QUrl::FullyDecoded), request.range);
    else if (host == QLatin1String("renderer"))
        finish(id, renderer_.answer(request.url.path(QUrl::FullyDecoded)));
    else
        finish(id, SchemeFailure::FileDoesNotExist);
    return id;
}

void SchemeRequests::stop(Id request) {
    auto stopped = live_.extract(request);
    if (stopped)
        stopped.mapped().lookup.cancel();
}

void SchemeRequests::finish(Id request, const SchemeAnswer& answer) {
    if (auto answered = live_.extract(request))
        answered.mapped().deliver(answer);
}

void SchemeRequests::answerWithFile(Id request, const QString& fileId, const QByteArray& wanted) {
    if (const auto file = inlineFiles_.find(fileId))
        return finish(request, storedFileResponse(*file, fileId, wanted));
    if (!files_)
        return finish(request, SchemeFailure::UserAuthenticationRequired);
    const Job lookup = lookups_.launch(
        [&](std::stop_token stop) { return lookUp(request, fileId, wanted, std::move(stop)); });
    if (const auto waiting = live_.find(request); waiting != live_.end())
        waiting->second.lookup = lookup;
}

QCoro::Task<void> SchemeRequests::lookUp(Id request, QString fileId, QByteArray wanted,
                                         std::stop_token stop) {
    auto finding = files_->find(fileId, std::move(stop));
    const FileLookup found = co_await finding;
    finish(request, answerFor(found, fileId, wanted));
}

} // namespace teskal
