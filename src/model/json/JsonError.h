#pragma once

#include "Error.h"

namespace teskal {

/// JSON that cannot be read as what it should be; the text says where and why, for the log.
class JsonError : public Error {
public:
    using Error::Error;
};

} // namespace teskal
