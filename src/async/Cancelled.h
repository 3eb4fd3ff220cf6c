#pragma once

#include <exception>

namespace teskal {

/// Thrown out of a wait whose stop token was set, or whose other side is gone. It is how a task ends
/// when nobody wants its outcome any more; it is never shown to the user.
class Cancelled : public std::exception {
public:
    const char* what() const noexcept override { return "cancelled"; }
};

} // namespace teskal
