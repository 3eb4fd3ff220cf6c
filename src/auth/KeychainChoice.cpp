#include "KeychainChoice.h"

#include "FileKeychain.h"
#include "Log.h"
#include "SystemKeychain.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusReply>

#include <algorithm>

namespace teskal {

namespace {

bool isKeyringService(const QString& name) {
    return name == QLatin1String("org.freedesktop.secrets") ||
           name.startsWith(QLatin1String("org.kde.kwalletd"));
}

bool hasKeyring(const QDBusReply<QStringList>& services) {
    const QStringList names = services.value();
    return std::any_of(names.cbegin(), names.cend(), isKeyringService);
}

} // namespace

bool isKeyringPresent() {
    const QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return false;
    return hasKeyring(bus.interface()->registeredServiceNames()) ||
           hasKeyring(bus.interface()->activatableServiceNames());
}

std::unique_ptr<Keychain> chooseKeychain(const QString& service, const QString& fallbackPath) {
    return chooseKeychain(service, fallbackPath, isKeyringPresent());
}

std::unique_ptr<Keychain> chooseKeychain(const QString& service, const QString& fallbackPath,
                                         bool keyringPresent) {
    if (keyringPresent)
        return std::make_unique<SystemKeychain>(service);
    logLine(QStringLiteral("there is no keyring: the sign-in is kept in a file that only you can read"));
    return std::make_unique<FileKeychain>(fallbackPath);
}

QString keychainService(const QString& storageSuffix) {
    return QStringLiteral("app.teskal.mac.auth") + storageSuffix;
}

} // namespace teskal
