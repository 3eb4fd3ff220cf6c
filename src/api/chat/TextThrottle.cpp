#include "TextThrottle.h"

namespace teskal {

TextThrottle::TextThrottle(Clock& clock, const QString& text, std::function<void(QString)> deliver)
    : clock_(clock), text_(text), deliver_(std::move(deliver)), lastMs_(clock.steadyMs() - interval.count()) {
}

void TextThrottle::update() {
    isWaiting_ = true;
    const qint64 due = lastMs_ + interval.count() - clock_.steadyMs();
    if (due <= 0)
        flush();
    else if (!timer_)
        timer_ = clock_.after(std::chrono::milliseconds(due), [this] { flush(); });
}

void TextThrottle::flush() {
    timer_.reset();
    if (!isWaiting_)
        return;
    isWaiting_ = false;
    lastMs_ = clock_.steadyMs();
    deliver_(text_);
}

} // namespace teskal
