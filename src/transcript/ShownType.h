#pragma once

#include <QString>

namespace teskal {

/// Whether \a mediaType, in small letters and without parameters, is of something that the page shows: an
/// image, audio, video or PDF.
bool isShownType(const QString& mediaType);

} // namespace teskal
