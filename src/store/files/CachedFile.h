#pragma once

#include <QByteArray>
#include <QString>

namespace teskal {

/// A file of the service that is here, on disk or in memory.
struct CachedFile {
    QString path;      ///< where it is; empty for a file in memory
    QByteArray bytes;  ///< of a file in memory
    QString mediaType; ///< MIME type

    bool isInMemory() const { return path.isEmpty(); }

    friend bool operator==(const CachedFile&, const CachedFile&) = default;
};

} // namespace teskal
