#pragma once

#include <QCoroTask>

#include <functional>
#include <list>
#include <memory>
#include <stop_token>

namespace teskal {

/// A launched coroutine. Copyable handle; dropping it changes nothing.
class Job {
public:
    Job() = default;

    bool isRunning() const;
    /// Asks the coroutine to stop. Its wait ends with Cancelled from the event loop, never inside this call.
    void cancel() const;
    bool operator==(const Job& other) const = default;

private:
    friend class Scope;
    struct State {
        std::stop_source stop;
        bool running = true;
    };
    explicit Job(std::shared_ptr<State> state) : state_(std::move(state)) {}
    std::shared_ptr<State> state_;
};

/// Where coroutines are launched. The owner of the data they touch holds it as its LAST member: the
/// destructor sets the stop token of everything it launched, and every wait that honours its token ends
/// before the destructor returns, while the owner's other members are still alive.
///
/// An exception other than Cancelled that escapes a launched coroutine is a programming error: it ends the
/// process with its text. Main thread only.
class Scope {
public:
    using Body = std::function<QCoro::Task<void>(std::stop_token)>;

    Scope() = default;
    ~Scope();
    Scope(const Scope&) = delete;
    Scope& operator=(const Scope&) = delete;

    /// Starts \a body at once, with a stop token of its own; it runs until its first wait inside this call.
    /// \a body is an ordinary function that calls a coroutine: it may capture, the coroutine may not.
    Job launch(const Body& body);
    /// Asks all that was launched to stop, as Job::cancel does.
    void cancelAll();
    bool isIdle() const { return jobs_->empty(); }

private:
    using Jobs = std::list<std::shared_ptr<Job::State>>;
    std::shared_ptr<Jobs> jobs_ = std::make_shared<Jobs>();
};

} // namespace teskal
