#pragma once

#include "CacheFolder.h"
#include "Completion.h"
#include "Scope.h"
#include "SerialWorker.h"
#include "TeskalAPI.h"

#include <QCoroTask>
#include <QHash>

#include <map>
#include <memory>
#include <optional>
#include <stop_token>

namespace teskal {

/// Copies of files that the service stores, so that they can be shown without being fetched again. What only
/// a private chat uses stays in memory. The system may empty the folder at any time; nothing here does. Files
/// are written beside the main thread; everything else happens on it.
class FileCache {
public:
    enum class Keep {
        OnDisk,
        InMemory, ///< for a private chat, until forgetPrivate()
    };

    /// \a folder is made when the first file is written; \a worker writes them.
    explicit FileCache(QString folder,
                       std::unique_ptr<SerialWorker> worker = std::make_unique<SerialWorker>());
    FileCache(const FileCache&) = delete;
    FileCache& operator=(const FileCache&) = delete;

    /// Files are fetched with \a api from now on. When \a owner is another account than before, or none, the
    /// downloads under way end, their waits in Cancelled, and what was kept in memory is forgotten.
    void claim(const std::optional<QString>& owner, std::optional<TeskalAPI> api);

    /// Keeps \a bytes, of the MIME type \a mediaType, as the file \a id. Nothing happens when \a id is no
    /// syncable identifier; a file that cannot be written is fetched again when it is needed.
    void store(const QByteArray& bytes, const QString& mediaType, const QString& id,
               Keep keep = Keep::OnDisk);

    /// The file \a id, fetched when it is not here. Any number of requests make one download, which goes on
    /// when one of them is stopped. Throws FileError when \a id is no syncable identifier (nothing is looked
    /// at or asked then) or the disk fails, what TeskalAPI::downloadFile throws, APIError 401 when nobody is
    /// signed in, and Cancelled.
    QCoro::Task<CachedFile> local(QString id, std::stop_token stop, Keep keep = Keep::OnDisk);

    /// Forgets what is kept in memory and ends the downloads for it, their waits in Cancelled.
    void forgetPrivate();
    /// Waits until everything given to store() is written.
    void flush() { worker_->finish(); }

private:
    struct Downloads {
        std::map<QString, CompletionSource<CachedFile>> running;
        std::unique_ptr<Scope> scope = std::make_unique<Scope>(); // last: its coroutines use the above

        void cancelAll() { scope = std::make_unique<Scope>(); }
    };

    std::optional<CachedFile> find(const QString& id) const;
    Completion<CachedFile> request(const QString& id, Keep keep);
    Completion<CachedFile> start(const QString& id, Keep keep);
    QCoro::Task<void> download(TeskalAPI api, QString id, Keep keep, std::stop_token stop);
    Downloads& downloads(Keep keep) { return keep == Keep::OnDisk ? diskDownloads_ : memoryDownloads_; }

    CacheFolder folder_;
    std::optional<QString> owner_;
    std::optional<TeskalAPI> api_;
    QHash<QString, CachedFile> inMemory_;
    QHash<QString, std::shared_ptr<const CachedFile>> beingWritten_;
    std::unique_ptr<SerialWorker> worker_;
    Downloads memoryDownloads_;
    Downloads diskDownloads_;
};

} // namespace teskal
