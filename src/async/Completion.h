#pragma once

#include "Cancelled.h"

#include <coroutine>
#include <exception>
#include <memory>
#include <optional>
#include <stop_token>
#include <type_traits>
#include <utility>
#include <vector>

namespace teskal {

namespace detail {

/// What all completions share: whether the outcome is there, and who waits for it.
class CompletionState : public std::enable_shared_from_this<CompletionState> {
public:
    /// One suspended wait. Lives in the frame of the coroutine that waits; taking itself off the list
    /// in its destructor is what makes abandoning a wait safe at any moment.
    class Waiter {
    public:
        Waiter(std::shared_ptr<CompletionState> state, std::stop_token token);
        ~Waiter();
        Waiter(const Waiter&) = delete;
        Waiter& operator=(const Waiter&) = delete;

        bool await_ready() const noexcept;
        void await_suspend(std::coroutine_handle<> handle);

    protected:
        /// Throws Cancelled when the token ended the wait, and the stored failure when there is one.
        void checkOutcome();
        CompletionState& state() const { return *state_; }

    private:
        friend class CompletionState;
        void resumeCancelled();
        void resume();

        std::shared_ptr<CompletionState> state_;
        std::stop_token token_;
        std::coroutine_handle<> handle_;
        struct OnStop {
            Waiter* waiter;
            void operator()() const { waiter->resumeCancelled(); }
        };
        std::optional<std::stop_callback<OnStop>> onStop_;
        bool cancelled_ = false;
    };

    CompletionState() = default;
    virtual ~CompletionState();
    CompletionState(const CompletionState&) = delete;
    CompletionState& operator=(const CompletionState&) = delete;

    bool isDone() const { return done_; }
    /// First outcome wins; later ones are ignored.
    void finish(std::exception_ptr failure);

private:
    void resumeWaiters();

    std::vector<Waiter*> waiters_;
    std::exception_ptr failure_;
    bool done_ = false;
};

template<typename T>
class ValueState final : public CompletionState {
public:
    std::optional<T> value;
};

template<>
class ValueState<void> final : public CompletionState {};

template<typename T>
class ValueWaiter final : public CompletionState::Waiter {
public:
    ValueWaiter(std::shared_ptr<ValueState<T>> state, std::stop_token token)
        : Waiter(std::move(state), std::move(token)) {}

    T await_resume() {
        checkOutcome();
        if constexpr (std::is_copy_constructible_v<T>)
            return *static_cast<ValueState<T>&>(state()).value;
        else if constexpr (!std::is_void_v<T>)
            return std::move(*static_cast<ValueState<T>&>(state()).value); // a single waiter takes it
    }
};

/// What Completion::wait returns. The compiler may move it into the frame, which the waiter itself,
/// registered by address, could not survive.
template<typename T>
class Wait {
public:
    Wait(std::shared_ptr<ValueState<T>> state, std::stop_token token)
        : state_(std::move(state)), token_(std::move(token)) {}
    ValueWaiter<T> operator co_await() const { return {state_, token_}; }

private:
    std::shared_ptr<ValueState<T>> state_;
    std::stop_token token_;
};

} // namespace detail

/// An outcome that arrives once: a value of type T or an exception. Copyable; any number of coroutines
/// may wait, each with its own stop token, and a wait that is stopped ends only itself.
/// Waiters are resumed from the event loop, never inside CompletionSource::succeed; a stopped wait is
/// resumed at once, inside request_stop(). Main thread only.
template<typename T>
class Completion {
public:
    explicit Completion(std::shared_ptr<detail::ValueState<T>> state) : state_(std::move(state)) {}

    bool isDone() const { return state_->isDone(); }
    /// Suspends until the outcome is there. Throws the failure, or Cancelled when \a token is set first.
    [[nodiscard]] detail::Wait<T> wait(std::stop_token token) const { return {state_, std::move(token)}; }

private:
    std::shared_ptr<detail::ValueState<T>> state_;
};

/// The side that provides the outcome. Movable; destroying it without an outcome ends every wait with
/// Cancelled, so that nothing waits for an object that died.
template<typename T>
class CompletionSource {
public:
    CompletionSource() : state_(std::make_shared<detail::ValueState<T>>()) {}
    ~CompletionSource() {
        if (state_)
            state_->finish(std::make_exception_ptr(Cancelled()));
    }
    CompletionSource(CompletionSource&&) noexcept = default;
    CompletionSource& operator=(CompletionSource&& other) noexcept {
        std::swap(state_, other.state_);
        return *this;
    }
    CompletionSource(const CompletionSource&) = delete;
    CompletionSource& operator=(const CompletionSource&) = delete;

    Completion<T> completion() const { return Completion<T>(state_); }
    bool isDone() const { return state_->isDone(); }

    template<typename U = T>
    requires(!std::is_void_v<T>) void succeed(U&& value) {
        if (state_->isDone())
            return;
        state_->value.emplace(std::forward<U>(value));
        state_->finish(nullptr);
    }
    void succeed() requires std::is_void_v<T> { state_->finish(nullptr); }
    void fail(std::exception_ptr failure) { state_->finish(std::move(failure)); }
    template<typename E>
    void failWith(const E& error) {
        state_->finish(std::make_exception_ptr(error));
    }

private:
    std::shared_ptr<detail::ValueState<T>> state_;
};

} // namespace teskal
