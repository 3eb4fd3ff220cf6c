#include "TranscriptFiles.h"

#include "Cancelled.h"
#include "ChatStore.h"

#include <algorithm>

namespace teskal {

namespace {

/// Whether a message of \a chat, which may be null, has the file \a id.
bool names(const Chat* chat, const QString& id) {
    const auto isFile = [&id](const Attachment& file) { return file.fileId == id; };
    const auto hasFile = [&](const ChatMessage& message) {
        return (message.media && message.media->fileId == id) ||
               std::any_of(message.attachments.begin(), message.attachments.end(), isFile);
    };
    return chat && std::any_of(chat->messages.begin(), chat->messages.end(), hasFile);
}

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
    if (!store_.owner())
        return absent(FileAbsence::NoAccount);
    const std::optional<FileCache::Keep> keep = keepRule(id, selection_().value_or(QString()));
    if (!keep)
        return absent(FileAbsence::Missing);
    return outcome(files_.local(std::move(id), stop, *keep), stop);
}

std::optional<FileCache::Keep> TranscriptFiles::keepRule(const QString& id, const QString& chatId) const {
    if (!store_.owner())
        return std::nullopt;
    if (names(store_.privateChat(), id))
        return FileCache::Keep::InMemory;
    if (names(store_.chat(chatId), id))
        return FileCache::Keep::OnDisk;
    return std::nullopt;
}

} // namespace teskal
