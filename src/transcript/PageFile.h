#pragma once

#include <QByteArray>
#include <QString>

namespace teskal {

/// A file that the transcript page shows: somewhere on disk, or in memory.
struct PageFile {
    QString path;      ///< where it is; empty for a file in memory
    QByteArray bytes;  ///< of a file in memory
    QString mediaType; ///< MIME type, as recorded with the file

    bool isInMemory() const { return path.isEmpty(); }

    friend bool operator==(const PageFile&, const PageFile&) = default;
};

} // namespace teskal
