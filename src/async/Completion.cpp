#include "Completion.h"

#include "Post.h"

#include <algorithm>

namespace teskal::detail {

CompletionState::~CompletionState() = default;

CompletionState::Waiter::Waiter(std::shared_ptr<CompletionState> state, std::stop_token token)
    : state_(std::move(state)), token_(std::move(token)) {}

CompletionState::Waiter::~Waiter() {
    onStop_.reset();
    std::erase(state_->waiters_, this);
}

bool CompletionState::Waiter::await_ready() const noexcept {
    return state_->done_ || token_.stop_requested();
}

void CompletionState::Waiter::await_suspend(std::coroutine_handle<> handle) {
    handle_ = handle;
    state_->waiters_.push_back(this);
    onStop_.emplace(token_, OnStop{this});
}

void CompletionState::Waiter::resumeCancelled() {
    cancelled_ = true;
    resume();
}

void CompletionState::Waiter::resume() {
    std::erase(state_->waiters_, this);
    handle_.resume();
}

void CompletionState::Waiter::checkOutcome() {
    // A token that was set before the wait began counts too, but an outcome that is already there wins
    // only when nobody asked to stop: after a stop no waiter may act on a result.
    if (cancelled_ || token_.stop_requested())
        throw Cancelled();
    if (state_->failure_)
        std::rethrow_exception(state_->failure_);
}

void CompletionState::finish(std::exception_ptr failure) {
    if (done_)
        return;
    done_ = true;
    failure_ = std::move(failure);
    if (!waiters_.empty())
        post([self = shared_from_this()] { self->resumeWaiters(); });
}

void CompletionState::resumeWaiters() {
    // A resumed waiter may end others: take one at a time from what is left.
    while (!waiters_.empty())
        waiters_.front()->resume();
}

} // namespace teskal::detail
