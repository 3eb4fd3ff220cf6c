#pragma once

#include "Clock.h"

#include <QCoroTask>

#include <stop_token>

namespace teskal {

/// Suspends for \a duration on \a clock, which must outlive the wait. Throws Cancelled when \a token is set.
QCoro::Task<void> delay(Clock& clock, std::chrono::milliseconds duration, std::stop_token token);

} // namespace teskal
