#pragma once

#include "Error.h"

namespace teskal {

/// A file operation that failed; the text is the system's description, for the log.
class FileError : public Error {
public:
    using Error::Error;
};

} // namespace teskal
