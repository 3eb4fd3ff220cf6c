#pragma once

#include "FileError.h"

#include <QList>
#include <QString>

#include <memory>

namespace teskal {

/// Writes sound as AAC into an MPEG-4 file, one channel at AudioInput's rate. What is written goes to the
/// disk as it comes; memory holds some hundred kilobytes of index for five minutes. Any thread, one at a
/// time.
class AacFile {
public:
    /// Makes the file at \a path, instead of one that is there. Throws FileError.
    explicit AacFile(const QString& path);
    /// A file that is not finished cannot be played.
    ~AacFile();
    AacFile(const AacFile&) = delete;
    AacFile& operator=(const AacFile&) = delete;

    /// Appends \a samples, from -1 to 1. Throws FileError.
    void write(const QList<float>& samples);
    /// Writes what is still under way and the index, and closes the file. To be called once, last. Throws
    /// FileError.
    void finish();

private:
    struct Encoder;

    std::unique_ptr<Encoder> encoder_;
};

} // namespace teskal
