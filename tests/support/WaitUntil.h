#pragma once

#include <chrono>
#include <functional>

namespace teskal::test {

using namespace teskal; // so that a test names one namespace

/// Runs the event loop until \a holds, which is asked again after every round of events. False when it
/// does not hold by the deadline.
[[nodiscard]] bool waitUntil(const std::function<bool()>& holds,
                             std::chrono::milliseconds deadline = std::chrono::seconds(10));

/// Runs everything that is queued now and what that queues, and nothing that arrives later.
void runQueued();

} // namespace teskal::test
