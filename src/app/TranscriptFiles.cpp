#include "TranscriptFiles.h"

#include "Cancelled.h"
#include "InlineFiles.h"

namespace teskal {

namespace {

QCoro::Task<FileLookup> absent(FileAbsence why) {
    co_return why;
}

QCoro::Task<FileLookup> outcome(QCoro::Task<CachedFile> reading, std::stop_token stop) {
    try {
        const CachedFile file = co_await std::move(reading);
        PageFile found;
        found.path = file.path;
        found.bytes = file.bytes;
        found.mediaType = file.mediaType;
        co_return found;
    } catch (const Cancelled&) {
        if (stop.stop_requested())
            throw;
        co_return FileAbsence::NoAccount; // the account or the private chat went meanwhile
    } catch (const Error&) {
        co_return FileAbsence::Missing;
    }
}

} // namespace

QCoro::Task<FileLookup> TranscriptFiles::find(QString id, std::stop_token stop) {
    const std::optional<FileCache::Keep> keep = keep_();
    if (!keep)
        return absent(FileAbsence::NoAccount);
    if (InlineFiles::isOwn(id))
        return absent(FileAbsence::Missing); // asked for late
    return outcome(files_.local(std::move(id), stop, *keep), stop);
}

} // namespace teskal
