#include "PulseServer.h"

#include "WaitUntil.h"

namespace teskal::test {

PulseServer::PulseServer() {
    const QString socket = folder_.filePath(u"native"_qs);
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const char* variable : {"HOME", "XDG_RUNTIME_DIR", "XDG_CONFIG_HOME", "XDG_STATE_HOME"})
        environment.insert(QLatin1String(variable), folder_.path());
    process_.setProcessEnvironment(environment);
    process_.setProcessChannelMode(QProcess::MergedChannels);
    process_.start(u"pulseaudio"_qs,
                   {u"-n"_qs, u"--daemonize=no"_qs, u"--disable-shm=yes"_qs, u"--use-pid-file=no"_qs,
                    u"--exit-idle-time=-1"_qs, u"--load=module-null-sink sink_name=speakers"_qs,
                    // The first source is a monitor, which is not offered as a microphone.
                    u"--load=module-remap-source master=speakers.monitor source_name=microphone"_qs,
                    u"--load=module-native-protocol-unix auth-anonymous=1 socket="_qs + socket});
    qputenv("PULSE_SERVER", "unix:" + socket.toLocal8Bit());
    isRunning_ =
        waitUntil([&] { return QFileInfo::exists(socket) || process_.state() == QProcess::NotRunning; });
    isRunning_ = isRunning_ && process_.state() == QProcess::Running;
}

void PulseServer::stop() {
    process_.kill();
    process_.waitForFinished(5000);
    isRunning_ = false;
}

} // namespace teskal::test
