#include "HttpServer.h"
#include "Latch.h"
#include "Options.h"
#include "Service.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <iostream>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using namespace teskal::service;

/// True when the process to watch is gone. A child of ours-to-be is recognised by our own parent changing,
/// because a dead parent may linger as a zombie.
bool isGone(pid_t pid, bool isParent) {
    return isParent ? ::getppid() != pid : ::kill(pid, 0) != 0 && errno == ESRCH;
}

sigset_t endingSignals() {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGTERM);
    sigaddset(&set, SIGINT);
    return set;
}

/// Returns when the service is to end: on a signal, or when the watched process is gone.
void awaitEnd(pid_t watched) {
    const sigset_t signals = endingSignals();
    const bool isParent = watched == ::getppid();
    const timespec interval{0, 250'000'000};
    for (;;) {
        const int signal =
            watched == 0 ? sigwaitinfo(&signals, nullptr) : sigtimedwait(&signals, nullptr, &interval);
        if (signal > 0 || (watched != 0 && isGone(watched, isParent)))
            return;
    }
}

int serve(const Options& options) {
    // Blocked before any thread starts, so that only awaitEnd receives them.
    const sigset_t signals = endingSignals();
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    std::signal(SIGPIPE, SIG_IGN);

    const Latch stop;
    Service service(options, stop);
    HttpServer server(service, stop);
    const auto port = server.bind(options.port);
    if (!port) {
        std::cerr << "teskal-local-service: port " << options.port << " on 127.0.0.1 is taken\n";
        return 2;
    }
    std::cout << "listening on http://127.0.0.1:" << *port << std::endl;

    std::thread watcher([&] {
        awaitEnd(options.parentPid);
        stop.open();
        server.shutDown();
    });
    server.serve();
    watcher.join();
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    const auto parsed = parseOptions(std::vector<std::string>(argv + 1, argv + argc));
    if (const auto* farewell = std::get_if<Farewell>(&parsed)) {
        (farewell->status == 0 ? std::cout : std::cerr) << farewell->text;
        return farewell->status;
    }
    const auto& options = std::get<Options>(parsed);
    try {
        return serve(options);
    } catch (const DatabaseError& error) {
        std::cerr << "teskal-local-service: the state file '" << options.stateFile
                  << "' can't be used: " << error.what() << '\n';
        return 2;
    }
}
