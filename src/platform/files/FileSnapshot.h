#pragma once

#include <QByteArray>
#include <QFile>

#include <memory>

namespace teskal {

/// A file's content as it was when opened, readable even after another file took its name.
/// Any number of threads may read at once.
class FileSnapshot {
public:
    /// Null when the file cannot be read.
    static std::shared_ptr<const FileSnapshot> open(const QString& path);

    qint64 size() const { return state_.size; }
    /// Whether nobody has written to it since: same size and time of the last change. A file that was only
    /// replaced is unchanged.
    bool isUnchanged() const;
    /// Fills \a into with \a count bytes from \a begin. Throws FileReadError when they are not there.
    void read(qint64 begin, char* into, qint64 count) const;

    /// The whole content, mapped for as long as the snapshot lives; empty when that is not possible.
    QByteArrayView map() const;
    /// Says that a part of the mapped content will not be looked at any more and need not stay in memory.
    void drop(qint64 begin, qint64 size) const;

private:
    struct State {
        qint64 size = 0;
        qint64 changedSeconds = 0;
        qint64 changedNanoseconds = 0;
        bool operator==(const State&) const = default;
    };

    FileSnapshot() = default;
    State currentState() const;

    mutable QFile file_;
    State state_;
    mutable uchar* mapped_ = nullptr;
};

} // namespace teskal
