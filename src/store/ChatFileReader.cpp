#include "ChatFileReader.h"

#include "ArrayScanner.h"
#include "Cancelled.h"
#include "JsonError.h"

#include <QFileInfo>
#include <QtConcurrentMap>

#include <exception>

namespace teskal {

namespace {

/// Text that is decoded in one go, in bytes: enough to be worth a thread's while.
constexpr qint64 batchSize = 1 << 20;

/// Neighbouring chats of the file.
struct Batch {
    std::size_t first = 0;
    std::size_t count = 0;
    std::exception_ptr failure;
};

std::vector<ChatRange> findChats(QByteArrayView text) {
    std::vector<ChatRange> ranges;
    json::ArrayScanner elements(text);
    while (const auto element = elements.next())
        ranges.push_back({element->data() - text.data(), element->size()});
    return ranges;
}

std::vector<Batch> batchesOf(const std::vector<ChatRange>& ranges) {
    std::vector<Batch> batches;
    qint64 size = batchSize;
    for (std::size_t at = 0; at < ranges.size(); ++at) {
        if (size >= batchSize) {
            batches.push_back({at, 0, nullptr});
            size = 0;
        }
        ++batches.back().count;
        size += ranges[at].size;
    }
    return batches;
}

void decodeBatch(LoadedChats& loaded, QByteArrayView text, Batch& batch) {
    try {
        ChatDecoder decoder;
        for (std::size_t at = batch.first; at < batch.first + batch.count; ++at) {
            const ChatRange& range = loaded.ranges[at];
            loaded.chats[at] =
                decoder.decode(text.sliced(range.begin, range.size), text.size() - range.end());
        }
    } catch (const JsonError&) {
        batch.failure = std::current_exception();
    }
    const ChatRange& last = loaded.ranges[batch.first + batch.count - 1];
    loaded.file->drop(loaded.ranges[batch.first].begin, last.end() - loaded.ranges[batch.first].begin);
}

/// Throws JsonError and Cancelled.
void decodeAll(LoadedChats& loaded, const std::stop_token& stop) {
    const QByteArrayView text = loaded.file->map();
    loaded.ranges = findChats(text);
    loaded.chats.resize(loaded.ranges.size());
    std::vector<Batch> batches = batchesOf(loaded.ranges);
    const auto decode = [&loaded, text, &stop](Batch& batch) {
        if (!stop.stop_requested())
            decodeBatch(loaded, text, batch);
    };
    if (batches.size() == 1)
        decode(batches.front()); // a thread would take longer to start
    else
        QtConcurrent::blockingMap(batches, decode);
    if (stop.stop_requested())
        throw Cancelled();
    for (const Batch& batch : batches)
        if (batch.failure)
            std::rethrow_exception(batch.failure);
}

} // namespace

LoadedChats readChatFile(const QString& path, const std::stop_token& stop) {
    LoadedChats loaded;
    loaded.file = FileSnapshot::open(path);
    if (!loaded.file) {
        loaded.damaged = QFileInfo::exists(path); // unreadable, but not ours to throw away
        return loaded;
    }
    try {
        decodeAll(loaded, stop);
    } catch (const JsonError&) {
        loaded = {};
        loaded.damaged = true;
    }
    return loaded;
}

} // namespace teskal
