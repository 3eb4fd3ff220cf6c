#include "FileCache.h"

#include "FileError.h"
#include "IDs.h"
#include "RunOn.h"

namespace teskal {

namespace {

CachedFile inMemory(QByteArray bytes, QString mediaType) {
    CachedFile file;
    file.bytes = std::move(bytes);
    file.mediaType = std::move(mediaType);
    return file;
}

QCoro::Task<CachedFile> fetchToMemory(TeskalAPI api, QString id, std::stop_token stop) {
    auto reading = api.readFile(id, stop);
    FileContent content = co_await reading;
    co_return inMemory(std::move(content.bytes), std::move(content.mediaType));
}

/// \a worker must outlive the call.
QCoro::Task<CachedFile> fetchToDisk(TeskalAPI api, CacheFolder folder, SerialWorker* worker, QString id,
                                    std::stop_token stop) {
    // Behind what the worker has to do already, such as removing earlier downloads.
    const auto made = runOn(*worker, [folder] { folder.make(); });
    co_await made.wait(stop);
    auto downloading = api.downloadFile(id, folder.partPath(id), stop);
    const QString mediaType = co_await downloading;
    const auto placed = runOn(*worker, [folder, id, mediaType, stop] {
        if (!stop.stop_requested())
            folder.placePart(id, mediaType);
    });
    co_await placed.wait(stop);
    std::optional<CachedFile> file = folder.find(id);
    if (!file)
        throw FileError(QStringLiteral("the file is gone again"));
    co_return *file;
}

QCoro::Task<CachedFile> outcome(Completion<CachedFile> completion, std::stop_token stop) {
    const CachedFile file = co_await completion.wait(stop);
    co_return file;
}

} // namespace

FileCache::FileCache(QString folder, std::unique_ptr<SerialWorker> worker)
    : folder_(std::move(folder)), worker_(std::move(worker)) {}

void FileCache::claim(const std::optional<QString>& owner, std::optional<TeskalAPI> api) {
    api_ = std::move(api);
    if (owner == owner_)
        return;
    owner_ = owner;
    diskDownloads_.cancelAll();
    forgetPrivate();
    worker_->run([folder = folder_] { folder.removeLeftovers(); }, nullptr);
}

void FileCache::forgetPrivate() {
    memoryDownloads_.cancelAll();
    inMemory_.clear();
}

void FileCache::store(const QByteArray& bytes, const QString& mediaType, const QString& id, Keep keep) {
    if (!IDs::isSyncable(id))
        return;
    if (keep == Keep::InMemory) {
        inMemory_.insert(id, inMemory(bytes, mediaType));
        return;
    }
    const auto file = std::make_shared<const CachedFile>(inMemory(bytes, mediaType));
    beingWritten_.insert(id, file);
    inMemory_.remove(id);
    const auto write = [folder = folder_, id, file] {
        try {
            folder.write(id, file->bytes, file->mediaType);
        } catch (const FileError&) {
            return; // a cache may lose a file
        }
    };
    worker_->run(write, [this, id, file] {
        if (beingWritten_.value(id) == file)
            beingWritten_.remove(id);
    });
}

QCoro::Task<CachedFile> FileCache::local(QString id, std::stop_token stop, Keep keep) {
    return outcome(request(id, keep), std::move(stop));
}

std::optional<CachedFile> FileCache::find(const QString& id) const {
    if (const auto kept = inMemory_.constFind(id); kept != inMemory_.constEnd())
        return *kept;
    if (const auto file = beingWritten_.value(id))
        return *file;
    return folder_.find(id);
}

Completion<CachedFile> FileCache::request(const QString& id, Keep keep) {
    CompletionSource<CachedFile> answer;
    const auto completion = answer.completion();
    if (!IDs::isSyncable(id)) {
        answer.failWith(FileError(QStringLiteral("not the identifier of a file")));
        return completion;
    }
    if (auto file = find(id)) {
        answer.succeed(std::move(*file));
        return completion;
    }
    // What a saved chat fetches serves a private one too, but not the other way round.
    for (const Keep running : {Keep::OnDisk, keep})
        if (const auto found = downloads(running).running.find(id); found != downloads(running).running.end())
            return found->second.completion();
    if (api_)
        return start(id, keep);
    answer.failWith(APIError::from(401, {}));
    return completion;
}

Completion<CachedFile> FileCache::start(const QString& id, Keep keep) {
    const auto completion = downloads(keep).running[id].completion();
    downloads(keep).scope->launch(
        [&](std::stop_token stop) { return download(*api_, id, keep, std::move(stop)); });
    return completion;
}

QCoro::Task<void> FileCache::download(TeskalAPI api, QString id, Keep keep, std::stop_token stop) {
    CachedFile file;
    std::exception_ptr failure;
    try {
        auto fetching = keep == Keep::OnDisk ? fetchToDisk(api, folder_, worker_.get(), id, stop)
                                             : fetchToMemory(api, id, stop);
        file = co_await fetching;
    } catch (...) {
        failure = std::current_exception();
    }
    auto ended = downloads(keep).running.extract(id);
    if (!failure && keep == Keep::InMemory)
        inMemory_.insert(id, file);
    failure ? ended.mapped().fail(failure) : ended.mapped().succeed(file);
}

} // namespace teskal
