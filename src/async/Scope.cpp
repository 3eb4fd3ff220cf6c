#include "Scope.h"

#include "Cancelled.h"
#include "Post.h"

#include <cstdio>
#include <cstdlib>

namespace teskal {

namespace {

[[noreturn]] void endProcess(const char* text) {
    std::fprintf(stderr, "[Teskal] a task failed with an error that nobody handles: %s\n", text);
    std::abort();
}

/// The outermost frame of a launched coroutine; destroys itself at its end.
struct Detached {
    struct promise_type {
        Detached get_return_object() { return {}; }
        std::suspend_never initial_suspend() noexcept { return {}; }
        std::suspend_never final_suspend() noexcept { return {}; }
        void return_void() {}
        void unhandled_exception() { std::terminate(); }
    };
};

Detached drive(QCoro::Task<void> task, std::function<void()> finished) {
    try {
        co_await task;
    } catch (const Cancelled&) {
        // The ordinary end of work that nobody wants any more.
    } catch (const std::exception& error) {
        endProcess(error.what());
    }
    finished();
}

} // namespace

bool Job::isRunning() const {
    return state_ && state_->running;
}

void Job::cancel() const {
    if (isRunning())
        post([state = state_] { state->stop.request_stop(); });
}

Scope::~Scope() {
    while (!jobs_->empty()) {
        const auto job = jobs_->front();
        jobs_->pop_front();
        job->stop.request_stop();
    }
}

Job Scope::launch(const Body& body) {
    auto state = std::make_shared<Job::State>();
    jobs_->push_back(state);
    std::function<void()> finished = [jobs = jobs_, state] {
        state->running = false;
        jobs->remove(state);
    };
    auto task = body(state->stop.get_token());
    drive(std::move(task), std::move(finished));
    return Job(state);
}

void Scope::cancelAll() {
    for (const auto& job : *jobs_)
        Job(job).cancel();
}

} // namespace teskal
