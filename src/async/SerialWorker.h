#pragma once

#include <QObject>
#include <QThreadPool>

#include <deque>
#include <functional>
#include <memory>

namespace teskal {

/// Runs work that would hold up the main thread on one thread of its own, in the order in which it was given.
/// Work gets immutable values and leaves its outcome where only it and its `done` look. Main thread only.
class SerialWorker final : public QObject {
    Q_OBJECT

public:
    using Work = std::function<void()>;

    explicit SerialWorker(QObject* parent = nullptr);
    /// Waits for the work that was given; what is due afterwards is not called.
    ~SerialWorker() override;

    /// Queues \a work, which must not throw; \a done follows on the main thread, from the event loop. \a done
    /// may give more work or destroy the worker.
    void run(Work work, Work done);
    /// Waits until all work has run and calls what is due after it, inside this call.
    void finish();
    bool isIdle() const { return queue_.empty(); }

private:
    struct Item;

    void collect();

    std::deque<std::shared_ptr<Item>> queue_;
    QThreadPool thread_;
};

} // namespace teskal
