#include "MicrophoneAccess.h"

#include "Completion.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusVariant>
#include <QFileInfo>

namespace teskal {

namespace {

/// The portal answers at once or hangs; the user waits for the recording to begin.
constexpr int readTimeoutMs = 500;

// libdbus would start a bus of its own where there is none.
bool sessionBusExists() {
    if (qEnvironmentVariableIsSet("DBUS_SESSION_BUS_ADDRESS"))
        return true;
    const QString runtimeDir = qEnvironmentVariable("XDG_RUNTIME_DIR");
    return !runtimeDir.isEmpty() && QFileInfo::exists(runtimeDir + QStringLiteral("/bus"));
}

bool isTrue(QVariant value) {
    while (value.metaType() == QMetaType::fromType<QDBusVariant>())
        value = value.value<QDBusVariant>().variant();
    return value.metaType() == QMetaType::fromType<bool>() && value.toBool();
}

/// The switch of GNOME's Settings, Privacy & Security, Microphone, which applications are to respect.
QDBusMessage readSwitch() {
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.portal.Desktop"), QStringLiteral("/org/freedesktop/portal/desktop"),
        QStringLiteral("org.freedesktop.portal.Settings"), QStringLiteral("Read"));
    call.setArguments({QStringLiteral("org.gnome.desktop.privacy"), QStringLiteral("disable-microphone")});
    return call;
}

} // namespace

QCoro::Task<bool> microphoneAccess(std::stop_token stop) {
    if (!sessionBusExists() || !QDBusConnection::sessionBus().isConnected())
        co_return true;
    QDBusPendingCallWatcher reading(QDBusConnection::sessionBus().asyncCall(readSwitch(), readTimeoutMs));
    const auto answered = std::make_shared<CompletionSource<bool>>();
    QObject::connect(&reading, &QDBusPendingCallWatcher::finished, &reading,
                     [answered](QDBusPendingCallWatcher* read) {
                         const QDBusMessage reply = read->reply();
                         const bool disabled =
                             reply.type() == QDBusMessage::ReplyMessage && isTrue(reply.arguments().value(0));
                         answered->succeed(!disabled);
                     });
    const auto answer = answered->completion();
    const bool allowed = co_await answer.wait(stop);
    co_return allowed;
}

} // namespace teskal
