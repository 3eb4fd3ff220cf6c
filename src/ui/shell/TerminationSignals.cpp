#include "TerminationSignals.h"

#include <QSocketNotifier>

#include <csignal>
#include <sys/eventfd.h>
#include <unistd.h>

namespace teskal {

namespace {

constexpr int watched[] = {SIGTERM, SIGINT, SIGHUP};

/// The one thing that a signal handler can reach. A handler rather than a blocked signal: programs that we
/// start inherit what is blocked, and the user's browser must still end when it is told to.
volatile std::sig_atomic_t wakeDescriptor = -1;

void wake(int) {
    const quint64 one = 1;
    [[maybe_unused]] const auto written = write(wakeDescriptor, &one, sizeof one);
}

void handleWith(void (*handler)(int)) {
    struct sigaction action = {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    for (const int number : watched)
        sigaction(number, &action, nullptr);
}

} // namespace

TerminationSignals::TerminationSignals(QObject* parent)
    : QObject(parent), descriptor_(eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)),
      notifier_(new QSocketNotifier(descriptor_, QSocketNotifier::Read, this)) {
    connect(notifier_, &QSocketNotifier::activated, this, [this] {
        quint64 count = 0;
        if (read(descriptor_, &count, sizeof count) == qsizetype(sizeof count))
            Q_EMIT received();
    });
    wakeDescriptor = descriptor_;
    handleWith(wake);
}

TerminationSignals::~TerminationSignals() {
    handleWith(SIG_DFL);
    wakeDescriptor = -1;
    delete notifier_;
    close(descriptor_);
}

} // namespace teskal
