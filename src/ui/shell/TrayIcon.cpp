#include "TrayIcon.h"

#include "icons/TeskalMark.h"

namespace teskal {

TrayIcon::TrayIcon(QObject* parent) : QObject(parent), icon_(TeskalMark::icon()) {
    connect(menu_.addAction(tr("Open Teskal")), &QAction::triggered, this, &TrayIcon::openRequested);
    connect(menu_.addAction(tr("New Chat")), &QAction::triggered, this, &TrayIcon::newChatRequested);
    menu_.addSeparator();
    connect(menu_.addAction(tr("Quit")), &QAction::triggered, this, &TrayIcon::quitRequested);
    icon_.setToolTip(QStringLiteral("Teskal"));
    icon_.setContextMenu(&menu_);
    connect(&icon_, &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
        if (reason == QSystemTrayIcon::Trigger || reason == QSystemTrayIcon::DoubleClick)
            Q_EMIT openRequested();
    });
    // Shows itself as soon as the desktop has a tray, which may start later than we do.
    icon_.show();
}

} // namespace teskal
