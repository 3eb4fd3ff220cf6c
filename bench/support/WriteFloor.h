#pragma once

#include <QByteArray>
#include <QString>

#include <functional>

namespace teskal::bench {

using Put = std::function<void(QByteArrayView)>;

/// Replaces the file \a path by \a bytes as durably as a save must: temporary file, fsync, rename.
/// Throws std::runtime_error.
void writeDurably(const QString& path, QByteArrayView bytes);
/// The same with what \a produce puts, piece by piece.
void writeDurably(const QString& path, const std::function<void(const Put&)>& produce);

} // namespace teskal::bench
