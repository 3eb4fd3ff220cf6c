#include "TerminationSignals.h"

#include <QSocketNotifier>

#include <csignal>
#include <sys/signalfd.h>
#include <unistd.h>

namespace teskal {

namespace {

sigset_t watched() {
    sigset_t set;
    sigemptyset(&set);
    for (const int number : {SIGTERM, SIGINT, SIGHUP})
        sigaddset(&set, number);
    return set;
}

} // namespace

TerminationSignals::TerminationSignals(QObject* parent) : QObject(parent) {
    // Blocked signals are read like a file, so nothing of ours ever runs inside a signal handler.
    const sigset_t set = watched();
    pthread_sigmask(SIG_BLOCK, &set, nullptr);
    descriptor_ = signalfd(-1, &set, SFD_NONBLOCK | SFD_CLOEXEC);
    notifier_ = new QSocketNotifier(descriptor_, QSocketNotifier::Read, this);
    connect(notifier_, &QSocketNotifier::activated, this, [this] {
        signalfd_siginfo info;
        if (read(descriptor_, &info, sizeof info) == qsizetype(sizeof info))
            Q_EMIT received();
    });
}

TerminationSignals::~TerminationSignals() {
    const sigset_t set = watched();
    pthread_sigmask(SIG_UNBLOCK, &set, nullptr);
    delete notifier_;
    close(descriptor_);
}

} // namespace teskal
