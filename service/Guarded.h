#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <utility>

namespace teskal::service {

/// A value that several worker threads share, reachable only while its lock is held. The one place of
/// the service that locks: everything inside is written as if it ran alone.
template<typename T>
class Guarded {
public:
    template<typename... Args>
    explicit Guarded(Args&&... args) : value_(std::forward<Args>(args)...) {}

    /// Runs `use(value)` under the lock and returns what it returns. Wakes those in `waitUntil`.
    template<typename Use>
    auto with(Use&& use) {
        const Notifier notifier{changed_};
        const std::lock_guard lock(mutex_);
        return std::forward<Use>(use)(value_);
    }

    /// Waits until `holds(value)` is true, looking again after every `with`. False when `timeout` passed.
    template<typename Predicate>
    bool waitUntil(std::chrono::milliseconds timeout, Predicate holds) {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, timeout, [&] { return holds(value_); });
    }

private:
    struct Notifier {
        std::condition_variable& changed;
        ~Notifier() { changed.notify_all(); }
    };

    T value_;
    std::mutex mutex_;
    std::condition_variable changed_;
};

} // namespace teskal::service
