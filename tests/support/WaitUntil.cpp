#include "WaitUntil.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QEvent>
#include <QTimer>

#include <algorithm>

namespace teskal::test {

namespace {

void deleteWhatIsDue() {
    // Outside exec() the loop leaves objects that were given to deleteLater() alone.
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

} // namespace

bool waitUntil(const std::function<bool()>& holds, std::chrono::milliseconds deadline) {
    const QDeadlineTimer end(deadline);
    QTimer wakeUp;
    wakeUp.setTimerType(Qt::PreciseTimer); // a coarse one may fire before the deadline, and then never again
    wakeUp.start(std::max(deadline, std::chrono::milliseconds(1)));
    while (!holds()) {
        if (end.hasExpired())
            return false;
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        deleteWhatIsDue();
    }
    return true;
}

void runQueued() {
    QCoreApplication::sendPostedEvents();
    deleteWhatIsDue();
}

} // namespace teskal::test
