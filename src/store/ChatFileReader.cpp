#include "ChatFileReader.h"

#include "Cancelled.h"
#include "JsonError.h"

#include <QtConcurrentMap>

#include <exception>
#include <limits>
#include <utility>

namespace teskal {

namespace {

/// Text that one of several threads decodes in one go, in bytes: enough to be worth a thread's while.
constexpr qint64 batchSize = 1 << 20;

} // namespace

/// Neighbouring chats of what is read.
struct ChatFileReader::Batch {
    std::size_t first = 0;
    std::size_t count = 0;
    std::exception_ptr failure;
};

ChatFileReader::ChatFileReader(std::shared_ptr<const FileSnapshot> file, std::stop_token stop)
    : file_(std::move(file)), stop_(std::move(stop)), text_(file_->map()) {}

LoadedChats ChatFileReader::readSome(qint64 size) {
    LoadedChats loaded;
    loaded.ranges = findChats(size);
    loaded.chats.resize(loaded.ranges.size());
    decode(loaded, {0, loaded.ranges.size(), nullptr});
    return loaded;
}

LoadedChats ChatFileReader::readRest() {
    LoadedChats loaded;
    loaded.ranges = findChats(std::numeric_limits<qint64>::max());
    loaded.chats.resize(loaded.ranges.size());
    std::vector<Batch> batches = batchesOf(loaded.ranges);
    const auto decodeOne = [this, &loaded](Batch& batch) {
        try {
            decode(loaded, batch);
        } catch (...) {
            batch.failure = std::current_exception();
        }
    };
    if (batches.size() == 1)
        decodeOne(batches.front()); // a thread would take longer to start
    else
        QtConcurrent::blockingMap(batches, decodeOne);
    for (const Batch& batch : batches)
        if (batch.failure)
            std::rethrow_exception(batch.failure);
    return loaded;
}

std::vector<ChatRange> ChatFileReader::findChats(qint64 size) {
    std::vector<ChatRange> ranges;
    if (!scanner_)
        scanner_.emplace(text_);
    const qint64 begin = foundEnd_;
    while (!atEnd_ && foundEnd_ - begin < size) {
        if (const auto element = scanner_->next()) {
            ranges.push_back({element->data() - text_.data(), element->size()});
            foundEnd_ = ranges.back().end();
        } else {
            atEnd_ = true;
        }
    }
    return ranges;
}

std::vector<ChatFileReader::Batch> ChatFileReader::batchesOf(const std::vector<ChatRange>& ranges) {
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

void ChatFileReader::decode(LoadedChats& loaded, const Batch& batch) const {
    if (stop_.stop_requested())
        throw Cancelled();
    if (batch.count == 0)
        return;
    ChatDecoder decoder;
    for (std::size_t at = batch.first; at < batch.first + batch.count; ++at) {
        const ChatRange& range = loaded.ranges[at];
        loaded.chats[at] = decoder.decode(text_.sliced(range.begin, range.size), text_.size() - range.end());
    }
    const qint64 begin = loaded.ranges[batch.first].begin;
    file_->drop(begin, loaded.ranges[batch.first + batch.count - 1].end() - begin);
}

} // namespace teskal
