#include "FileManager.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDesktopServices>
#include <QUrl>

namespace teskal::FileManager {

void reveal(const QString& folder) {
    const QUrl url = QUrl::fromLocalFile(folder);
    const auto bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        QDesktopServices::openUrl(url);
        return;
    }
    auto message = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("/org/freedesktop/FileManager1"),
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("ShowItems"));
    message.setArguments({QStringList{url.toString(QUrl::FullyEncoded)}, QString()});
    auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(message), QCoreApplication::instance());
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher, [watcher, url] {
        watcher->deleteLater();
        if (QDBusPendingReply<>(*watcher).isError())
            QDesktopServices::openUrl(url);
    });
}

} // namespace teskal::FileManager
