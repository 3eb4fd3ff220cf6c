#pragma once

#include <QCoroTask>

#include <stop_token>

namespace teskal {

/// Whether the user lets applications use the microphone: the desktop's privacy setting, as the settings
/// portal tells it. A desktop without one leaves it to the device. Throws Cancelled when \a stop is set.
QCoro::Task<bool> microphoneAccess(std::stop_token stop);

} // namespace teskal
