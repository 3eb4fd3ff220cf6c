#pragma once

#include <QProcess>
#include <QTemporaryDir>

namespace teskal::test {

/// A sound server of the test's own, with loudspeakers that nobody hears and a microphone that hears them.
class PulseServer {
public:
    /// Starts it and makes it this program's; to be called before the program uses sound.
    PulseServer();
    ~PulseServer() { stop(); }
    PulseServer(const PulseServer&) = delete;
    PulseServer& operator=(const PulseServer&) = delete;

    bool isRunning() const { return isRunning_; }
    /// Ends it as a crash does.
    void stop();

private:
    QTemporaryDir folder_;
    QProcess process_;
    bool isRunning_ = false;
};

} // namespace teskal::test
