#pragma once

#include "Error.h"

namespace teskal {

/// A file operation that failed; the text is the system's description, for the log.
class FileError : public Error {
public:
    using Error::Error;
};

/// The same for a file that was being read, where writing another may have failed as well.
class FileReadError : public FileError {
public:
    using FileError::FileError;
};

} // namespace teskal
