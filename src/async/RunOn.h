#pragma once

#include "Completion.h"
#include "SerialWorker.h"

#include <functional>
#include <memory>

namespace teskal {

/// Runs \a work, which may throw, on \a worker. The outcome is what it returns or throws; Cancelled when the
/// worker goes first. Main thread only.
template<typename Work, typename T = std::invoke_result_t<Work&>>
Completion<T> runOn(SerialWorker& worker, Work work) {
    using Source = CompletionSource<T>;
    const auto ended = std::make_shared<Source>();
    // Written by the work, and used on the main thread when that is over.
    const auto tell = std::make_shared<std::function<void(Source&)>>();
    worker.run(
        [work = std::move(work), tell]() mutable {
            try {
                if constexpr (std::is_void_v<T>) {
                    work();
                    *tell = [](Source& source) { source.succeed(); };
                } else {
                    *tell = [value = work()](Source& source) { source.succeed(value); };
                }
            } catch (...) {
                *tell = [failure = std::current_exception()](Source& source) { source.fail(failure); };
            }
        },
        [ended, tell] { (*tell)(*ended); });
    return ended->completion();
}

} // namespace teskal
