#pragma once

#include "Clock.h"

#include <QString>

#include <functional>
#include <memory>

namespace teskal {

/// Hands a growing text on at most once per interval: at once when the last time is long enough ago, else
/// when the interval has passed, so that a pause in the stream never leaves a text undelivered.
class TextThrottle {
public:
    static constexpr std::chrono::milliseconds interval{33};

    /// \a text is the text that grows; it is copied only when it is delivered. It and \a clock must outlive
    /// the throttle.
    TextThrottle(Clock& clock, const QString& text, std::function<void(QString)> deliver);

    /// The text has grown.
    void update();
    /// Delivers what is still waiting, now.
    void flush();

private:
    Clock& clock_;
    const QString& text_;
    std::function<void(QString)> deliver_;
    std::unique_ptr<ClockTimer> timer_;
    bool isWaiting_ = false;
    qint64 lastMs_;
};

} // namespace teskal
