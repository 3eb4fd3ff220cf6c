#pragma once

#include <thread>

namespace teskal {

/// Reads the configuration of the system's fonts, which the first text has to wait for, beside what comes
/// before that.
class EarlyFonts {
public:
    /// Begins. Make one before the application object.
    EarlyFonts();
    /// Waits until it is read; Qt would read it a second time. Call this before the first widget is made.
    void finish();

private:
    std::jthread reader_;
};

} // namespace teskal
