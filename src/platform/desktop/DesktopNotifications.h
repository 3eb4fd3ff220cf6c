#pragma once

#include <QHash>
#include <QObject>
#include <QString>

namespace teskal {

/// The desktop's own notifications. Without a notification service nothing is shown. Main thread only;
/// nothing here waits for the desktop.
/// Source: Desktop Notifications Specification 1.2, "D-BUS Protocol".
class DesktopNotifications final : public QObject {
    Q_OBJECT

public:
    explicit DesktopNotifications(QObject* parent = nullptr);

    /// Shows plain text under the plain \a title. A newer notification with the same \a tag takes the place
    /// of the one before.
    void show(const QString& tag, const QString& title, const QString& text);
    /// Takes the notification away, where it is still shown.
    void withdraw(const QString& tag);
    void withdrawAll();

Q_SIGNALS:
    /// The user clicked the notification. \a activationToken lets a window come to the front; it may be
    /// empty.
    void clicked(const QString& tag, const QByteArray& activationToken);

private Q_SLOTS:
    void takeAction(uint id, const QString& action);
    void takeToken(uint id, const QString& token);
    void takeClosed(uint id);

private:
    struct Shown {
        uint id = 0;      ///< the service's; 0 until it has answered
        quint64 call = 0; ///< the latest call for this tag
        QByteArray token;
    };

    [[nodiscard]] QString tagOf(uint id) const;
    void shown(const QString& tag, quint64 call, uint id);
    static void close(uint id);

    QHash<QString, Shown> shown_;
    quint64 lastCall_ = 0;
};

} // namespace teskal
