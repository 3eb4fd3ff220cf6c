#include "ManualClock.h"

#include <algorithm>

namespace teskal {

class ManualClock::ManualTimer final : public ClockTimer {
public:
    ManualTimer(ManualClock& clock, std::shared_ptr<Entry> entry) : clock_(clock), entry_(std::move(entry)) {}
    ~ManualTimer() override { clock_.entries_.remove(entry_); }

private:
    ManualClock& clock_;
    std::shared_ptr<Entry> entry_;
};

ManualClock::~ManualClock() = default;

std::unique_ptr<ClockTimer> ManualClock::after(std::chrono::milliseconds delay,
                                               std::function<void()> action) {
    auto entry = std::make_shared<Entry>();
    entry->dueMs = steady_ + std::max<qint64>(0, delay.count());
    entry->action = std::move(action);
    entries_.push_back(entry);
    return std::make_unique<ManualTimer>(*this, std::move(entry));
}

ManualClock::Entries::const_iterator ManualClock::earliest() const {
    return std::min_element(entries_.begin(), entries_.end(),
                            [](const auto& a, const auto& b) { return a->dueMs < b->dueMs; });
}

void ManualClock::advance(std::chrono::milliseconds by) {
    const qint64 end = steady_ + by.count();
    for (auto next = earliest(); next != entries_.end() && (*next)->dueMs <= end; next = earliest()) {
        // The list gives its own up before the action runs.
        const auto entry = *next; // NOLINT(performance-unnecessary-copy-initialization)
        entries_.erase(next);
        now_ += static_cast<double>(entry->dueMs - steady_);
        steady_ = entry->dueMs;
        entry->action();
    }
    // An action may have advanced the clock itself, past this end: it never goes back.
    now_ += static_cast<double>(std::max<qint64>(0, end - steady_));
    steady_ = std::max(steady_, end);
}

std::chrono::milliseconds ManualClock::untilNext() const {
    const auto next = earliest();
    return std::chrono::milliseconds(next == entries_.end() ? -1 : (*next)->dueMs - steady_);
}

} // namespace teskal
