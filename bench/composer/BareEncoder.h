#pragma once

#include <QList>

namespace teskal::bench {

/// Bytes of AAC that the library makes of \a samples, as AacFile has it do, in no file.
qsizetype encodeBare(const QList<float>& samples);

} // namespace teskal::bench
