#pragma once

#include <QMenu>
#include <QSystemTrayIcon>

namespace teskal {

/// The application in the desktop's tray, where the desktop has one: it keeps running without a window.
class TrayIcon final : public QObject {
    Q_OBJECT

public:
    explicit TrayIcon(QObject* parent = nullptr);

Q_SIGNALS:
    void openRequested();
    void newChatRequested();
    void quitRequested();

private:
    QMenu menu_;
    QSystemTrayIcon icon_;
};

} // namespace teskal
