#include "ChatFileWriter.h"

#include "AtomicFile.h"

namespace teskal {

namespace {

/// Encoded text that is gathered before it goes to the file, in bytes.
constexpr qsizetype bufferSize = 1 << 20;

/// The array under way: text from values gathers in a buffer, neighbouring ranges in one range.
class ArrayFile {
public:
    explicit ArrayFile(const ChatFileJob& job) : file_(job.path), previous_(job.previous.get()) {
        buffer_.append('[');
    }

    ChatRange append(const ChatRange& range) {
        // One byte between two chats can only be their comma.
        const bool follows = run_.size > 0 && range.begin == run_.end() + 1;
        if (!follows) {
            flushRun();
            separate();
            flushBuffer();
            run_ = {range.begin, 0};
        }
        run_.size = range.end() - run_.begin;
        return {end() - range.size, range.size};
    }

    ChatRange append(const Chat& chat) {
        flushRun();
        separate();
        const qint64 begin = end();
        buffer_.append(encoder_.encode(chat));
        const qint64 size = end() - begin;
        if (buffer_.size() >= bufferSize)
            flushBuffer();
        return {begin, size};
    }

    void commit() {
        flushRun();
        buffer_.append(']');
        flushBuffer();
        file_.commit();
    }

    qint64 end() const { return file_.size() + run_.size + buffer_.size(); }

private:
    void separate() {
        if (!first_)
            buffer_.append(',');
        first_ = false;
    }
    void flushRun() {
        try {
            if (run_.size > 0)
                file_.copy(*previous_, run_.begin, run_.size);
        } catch (const FileReadError&) {
            throw PreviousFileChanged(); // what memory holds is all that can be relied on
        }
        run_ = {};
    }
    void flushBuffer() {
        if (!buffer_.isEmpty())
            file_.write(buffer_);
        buffer_.resize(0);
    }

    AtomicFile file_;
    const FileSnapshot* previous_;
    ChatEncoder encoder_;
    QByteArray buffer_;
    ChatRange run_; ///< text of the previous file that is due
    bool first_ = true;
};

} // namespace

WrittenChats writeChatFile(const ChatFileJob& job) {
    if (job.previous && !job.previous->isUnchanged())
        throw PreviousFileChanged();
    WrittenChats written;
    ArrayFile file(job);
    written.ranges.reserve(job.pieces.size());
    for (const ChatFileJob::Piece& piece : job.pieces)
        written.ranges.push_back(std::visit([&](const auto& part) { return file.append(part); }, piece));
    if (job.previous && !job.previous->isUnchanged())
        throw PreviousFileChanged(); // while it was copied
    file.commit();
    written.file = FileSnapshot::open(job.path);
    if (written.file && written.file->size() != file.end())
        written.file = nullptr; // another program was quicker; nothing of it is known
    return written;
}

} // namespace teskal
