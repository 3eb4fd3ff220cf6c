#include "Delay.h"

#include "Completion.h"

namespace teskal {

QCoro::Task<void> delay(Clock& clock, std::chrono::milliseconds duration, std::stop_token token) {
    CompletionSource<void> elapsed;
    const auto timer = clock.after(duration, [&elapsed] { elapsed.succeed(); });
    const auto completion = elapsed.completion();
    co_await completion.wait(token);
}

} // namespace teskal
