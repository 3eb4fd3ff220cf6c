#pragma once

#include "Scope.h"
#include "WaitUntil.h"

#include <exception>
#include <memory>
#include <optional>
#include <stdexcept>
#include <type_traits>
#include <utility>

namespace teskal::test {

namespace detail {

template<typename T>
struct Outcome {
    using Value = std::conditional_t<std::is_void_v<T>, bool, T>;
    std::optional<Value> value;
    std::exception_ptr error;
    bool done() const { return value || error; }
};

template<typename T>
QCoro::Task<void> record(QCoro::Task<T> task, std::shared_ptr<Outcome<T>> outcome) {
    try {
        if constexpr (std::is_void_v<T>) {
            co_await task;
            outcome->value = true;
        } else {
            outcome->value.emplace(std::move(co_await task));
        }
    } catch (...) {
        outcome->error = std::current_exception();
    }
}

template<typename Body>
struct ResultOf;
template<typename T>
struct ResultOf<QCoro::Task<T>> {
    using Type = T;
};

} // namespace detail

/// A coroutine that a test has started. Destroying it stops the coroutine.
template<typename T>
class Pending {
public:
    template<typename Body>
    explicit Pending(Body body) : outcome_(std::make_shared<detail::Outcome<T>>()), scope_(new Scope) {
        job_ = scope_->launch([&](std::stop_token token) {
            auto task = body(std::move(token));
            return detail::record<T>(std::move(task), outcome_);
        });
    }

    bool isDone() const { return outcome_->done(); }
    /// Asks the coroutine to stop; it does so from the event loop.
    void stop() { job_.cancel(); }
    /// Stops the coroutine as the end of its owner does, inside this call.
    void destroyScope() { scope_.reset(); }

    /// Runs the event loop to the coroutine's end. Returns its value or throws its error; throws
    /// std::runtime_error when it has not ended by the deadline.
    T result(std::chrono::milliseconds deadline = std::chrono::seconds(10)) {
        if (!waitUntil([this] { return isDone(); }, deadline))
            throw std::runtime_error("the coroutine did not end in time");
        if (outcome_->error)
            std::rethrow_exception(outcome_->error);
        if constexpr (!std::is_void_v<T>)
            return std::move(*outcome_->value);
    }

    /// The error of type E that the coroutine ends with; none when it ends with a value. Others are thrown.
    template<typename E>
    std::optional<E> error(std::chrono::milliseconds deadline = std::chrono::seconds(10)) {
        try {
            result(deadline);
        } catch (const E& caught) {
            return caught;
        }
        return std::nullopt;
    }

private:
    std::shared_ptr<detail::Outcome<T>> outcome_;
    std::unique_ptr<Scope> scope_;
    Job job_;
};

/// Starts \a body, an ordinary function of a stop token that calls a coroutine.
template<typename Body>
auto start(Body body) {
    using T = typename detail::ResultOf<std::invoke_result_t<Body, std::stop_token>>::Type;
    return Pending<T>(std::move(body));
}

/// Starts \a body and runs the event loop to its end.
template<typename Body>
auto waitFor(Body body) {
    auto pending = start(std::move(body));
    return pending.result();
}

} // namespace teskal::test
