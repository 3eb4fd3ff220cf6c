#include "DesktopAppearance.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QFileInfo>

namespace teskal {

namespace {

constexpr int readTimeoutMs = 150;

// libdbus would start a bus of its own where there is none.
bool sessionBusExists() {
    if (qEnvironmentVariableIsSet("DBUS_SESSION_BUS_ADDRESS"))
        return true;
    const QString runtimeDir = qEnvironmentVariable("XDG_RUNTIME_DIR");
    return !runtimeDir.isEmpty() && QFileInfo::exists(runtimeDir + QStringLiteral("/bus"));
}

QVariant unwrapped(QVariant value) {
    while (value.metaType() == QMetaType::fromType<QDBusVariant>())
        value = value.value<QDBusVariant>().variant();
    return value;
}

QString portalService() {
    return QStringLiteral("org.freedesktop.portal.Desktop");
}
QString portalPath() {
    return QStringLiteral("/org/freedesktop/portal/desktop");
}
QString portalInterface() {
    return QStringLiteral("org.freedesktop.portal.Settings");
}

struct Setting {
    QLatin1String group;
    QLatin1String key;
};

constexpr Setting colourScheme{QLatin1String("org.freedesktop.appearance"), QLatin1String("color-scheme")};
constexpr Setting reducedMotionSetting{QLatin1String("org.freedesktop.appearance"),
                                       QLatin1String("reduced-motion")};
constexpr Setting enableAnimations{QLatin1String("org.gnome.desktop.interface"),
                                   QLatin1String("enable-animations")};

} // namespace

DesktopAppearance::DesktopAppearance(QObject* parent) : QObject(parent) {}

void DesktopAppearance::connectToPortal() {
    if (!sessionBusExists())
        return;
    // Before the bus thread does the same: registered by both at once, the type has two identities now and
    // then, and QtDBus refuses our slot.
    qRegisterMetaType<QDBusVariant>();
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return;
    for (const Setting& setting : {colourScheme, reducedMotionSetting, enableAnimations}) {
        if (!read(bus, setting.group, setting.key))
            break;
    }
    // A portal that starts later is heard as well.
    bus.connect(portalService(), portalPath(), portalInterface(), QStringLiteral("SettingChanged"), this,
                SLOT(settingChanged(QString, QString, QDBusVariant)));
}

bool DesktopAppearance::read(const QDBusConnection& bus, const QString& group, const QString& key) {
    QDBusMessage call = QDBusMessage::createMethodCall(portalService(), portalPath(), portalInterface(),
                                                       QStringLiteral("Read"));
    call.setArguments({group, key});
    const QDBusMessage reply = bus.call(call, QDBus::Block, readTimeoutMs);
    if (reply.type() == QDBusMessage::ReplyMessage && !reply.arguments().isEmpty())
        apply(group, key, unwrapped(reply.arguments().constFirst()));
    return reply.errorName() != QLatin1String("org.freedesktop.DBus.Error.ServiceUnknown") &&
           reply.errorName() != QLatin1String("org.freedesktop.DBus.Error.NoReply");
}

void DesktopAppearance::settingChanged(const QString& group, const QString& key, const QDBusVariant& value) {
    if (apply(group, key, unwrapped(value.variant())))
        Q_EMIT changed();
}

bool DesktopAppearance::apply(const QString& group, const QString& key, const QVariant& value) {
    const auto names = [&](const Setting& setting) { return group == setting.group && key == setting.key; };
    const Scheme schemeBefore = scheme_;
    const bool motionBefore = reducedMotion_;
    if (names(colourScheme)) {
        // 0: no preference, 1: dark, 2: light
        const uint preference = value.toUInt();
        scheme_ = preference == 1 ? Scheme::Dark : preference == 2 ? Scheme::Light : Scheme::Unknown;
    } else if (names(reducedMotionSetting)) {
        reducedMotion_ = value.toUInt() == 1;
    } else if (names(enableAnimations)) {
        reducedMotion_ = !value.toBool();
    }
    return scheme_ != schemeBefore || reducedMotion_ != motionBefore;
}

} // namespace teskal
