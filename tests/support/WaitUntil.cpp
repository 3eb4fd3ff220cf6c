#include "WaitUntil.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QEvent>
#include <QTimer>

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
    wakeUp.setSingleShot(true);
    wakeUp.start(deadline);
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
