#pragma once

#include "PageFile.h"
#include "SchemeAnswer.h"

namespace teskal {

/// \a file, which has the name \a id, or what the "Range" header \a wanted (null when there is none) asks of
/// it. 404 when it is a file on disk that cannot be read.
SchemeResponse storedFileResponse(const PageFile& file, const QString& id, QByteArrayView wanted);

} // namespace teskal
