#include "Bus.h"

#include <QFile>
#include <QProcess>

#include <csignal>
#include <stdexcept>

namespace teskal::bench {

namespace {

constexpr const char* configuration = R"(<busconfig><type>session</type><listen>unix:dir=%1</listen>
<policy context="default"><allow send_destination="*" eavesdrop="true"/><allow eavesdrop="true"/><allow own="*"/></policy></busconfig>)";

} // namespace

Bus::Bus() {
    QFile file(folder_.filePath(QStringLiteral("bus.conf")));
    const QString text = QString::fromLatin1(configuration).arg(folder_.path());
    if (!file.open(QFile::WriteOnly) || file.write(text.toUtf8()) < 0)
        throw std::runtime_error("could not write the bus's configuration");
    file.close();
    QProcess starter; // it leaves the bus on its own: no process of those that are measured
    starter.start(QStringLiteral("dbus-daemon"),
                  {QStringLiteral("--config-file=") + file.fileName(), QStringLiteral("--fork"),
                   QStringLiteral("--print-address=1"), QStringLiteral("--print-pid=1")});
    if (!starter.waitForFinished() || starter.exitCode() != 0)
        throw std::runtime_error("dbus-daemon does not start");
    const QList<QByteArray> lines = starter.readAllStandardOutput().split('\n');
    process_ = lines.value(1).toInt();
    if (process_ <= 0)
        throw std::runtime_error("dbus-daemon does not say where it is");
    qputenv("DBUS_SESSION_BUS_ADDRESS", lines.front());
}

Bus::~Bus() {
    if (process_ > 0)
        kill(process_, SIGTERM);
}

} // namespace teskal::bench
