#include "PulseServer.h"

#include "WaitUntil.h"

#include <QFileInfo>

namespace teskal::test {

PulseServer::PulseServer() {
    const QString socket = folder_.filePath(QStringLiteral("native"));
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const char* variable : {"HOME", "XDG_RUNTIME_DIR", "XDG_CONFIG_HOME", "XDG_STATE_HOME"})
        environment.insert(QLatin1String(variable), folder_.path());
    process_.setProcessEnvironment(environment);
    process_.setProcessChannelMode(QProcess::MergedChannels);
    process_.start(
        QStringLiteral("pulseaudio"),
        {QStringLiteral("-n"), QStringLiteral("--daemonize=no"), QStringLiteral("--disable-shm=yes"),
         QStringLiteral("--use-pid-file=no"), QStringLiteral("--exit-idle-time=-1"),
         QStringLiteral("--load=module-null-sink sink_name=speakers"),
         // The first source is a monitor, which is not offered as a microphone.
         QStringLiteral("--load=module-remap-source master=speakers.monitor source_name=microphone"),
         QStringLiteral("--load=module-native-protocol-unix auth-anonymous=1 socket=") + socket});
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
