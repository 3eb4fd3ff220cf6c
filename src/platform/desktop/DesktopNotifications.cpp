#include "DesktopNotifications.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QGuiApplication>
#include <QVariantMap>

namespace teskal {

namespace {

const QString service = QStringLiteral("org.freedesktop.Notifications");
const QString path = QStringLiteral("/org/freedesktop/Notifications");
constexpr int serversChoice = -1; // of the time for which it is shown

QDBusMessage call(const QString& method, const QVariantList& arguments) {
    auto message = QDBusMessage::createMethodCall(service, path, service, method);
    message.setArguments(arguments);
    return message;
}

} // namespace

DesktopNotifications::DesktopNotifications(QObject* parent) : QObject(parent) {
    auto bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return;
    bus.connect(service, path, service, QStringLiteral("ActionInvoked"), this,
                SLOT(takeAction(uint, QString)));
    bus.connect(service, path, service, QStringLiteral("ActivationToken"), this,
                SLOT(takeToken(uint, QString)));
    bus.connect(service, path, service, QStringLiteral("NotificationClosed"), this, SLOT(takeClosed(uint)));
}

void DesktopNotifications::show(const QString& tag, const QString& title, const QString& text) {
    const auto bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return;
    Shown& entry = shown_[tag];
    entry.call = ++lastCall_;
    const QString entryName = QGuiApplication::desktopFileName();
    // The text may be markup for the service, the title never is.
    const QVariantList arguments{QGuiApplication::applicationDisplayName(),
                                 entry.id,
                                 entryName,
                                 title,
                                 text.toHtmlEscaped(),
                                 QStringList{QStringLiteral("default"), tr("Open")},
                                 QVariantMap{{QStringLiteral("desktop-entry"), entryName}},
                                 serversChoice};
    auto* watcher =
        new QDBusPendingCallWatcher(bus.asyncCall(call(QStringLiteral("Notify"), arguments)), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher, tag, number = entry.call] {
        watcher->deleteLater();
        const QDBusPendingReply<uint> reply(*watcher);
        shown(tag, number, reply.isError() ? 0 : reply.value());
    });
}

void DesktopNotifications::shown(const QString& tag, quint64 call, uint id) {
    const auto entry = shown_.find(tag);
    if (entry == shown_.end() || entry->call != call) {
        // Nobody knew the number when this one was withdrawn, or another was shown in its place.
        if (entry == shown_.end() || entry->id != id)
            close(id);
        return;
    }
    if (id == 0)
        shown_.erase(entry);
    else
        entry->id = id;
}

void DesktopNotifications::withdraw(const QString& tag) {
    close(shown_.take(tag).id);
}

void DesktopNotifications::withdrawAll() {
    const QStringList tags = shown_.keys();
    for (const QString& tag : tags)
        withdraw(tag);
}

void DesktopNotifications::close(uint id) {
    if (id != 0)
        QDBusConnection::sessionBus().asyncCall(call(QStringLiteral("CloseNotification"), {id}));
}

QString DesktopNotifications::tagOf(uint id) const {
    for (auto it = shown_.cbegin(); it != shown_.cend(); ++it)
        if (it->id == id)
            return it.key();
    return {};
}

void DesktopNotifications::takeAction(uint id, const QString& action) {
    const QString tag = tagOf(id);
    if (!tag.isEmpty() && action == QLatin1String("default"))
        Q_EMIT clicked(tag, shown_.value(tag).token);
}

void DesktopNotifications::takeToken(uint id, const QString& token) {
    if (const QString tag = tagOf(id); !tag.isEmpty())
        shown_[tag].token = token.toLatin1();
}

void DesktopNotifications::takeClosed(uint id) {
    if (const QString tag = tagOf(id); !tag.isEmpty())
        shown_.remove(tag);
}

} // namespace teskal
