#pragma once

#include <QDBusVariant>
#include <QObject>

class QDBusConnection;

namespace teskal {

/// What the desktop says about looks: the settings portal's colour scheme and whether motion is unwanted.
/// Without a session bus or a portal everything stays unknown. Lives on the main thread.
class DesktopAppearance : public QObject {
    Q_OBJECT

public:
    enum class Scheme { Unknown, Light, Dark };

    explicit DesktopAppearance(QObject* parent = nullptr);

    [[nodiscard]] Scheme scheme() const { return scheme_; }
    [[nodiscard]] bool reducedMotion() const { return reducedMotion_; }

    /// Connects to the portal and reads the present values; blocks for 150 ms at most, since a first picture
    /// in the wrong look would flash.
    void connectToPortal();

Q_SIGNALS:
    /// A value really differs from before. Not emitted by connectToPortal().
    void changed();

public Q_SLOTS:
    /// The portal's "SettingChanged"; settings that mean nothing here are ignored.
    void settingChanged(const QString& group, const QString& key, const QDBusVariant& value);

private:
    /// Reads one setting; false when there is nobody to ask for more.
    bool read(const QDBusConnection& bus, const QString& group, const QString& key);
    bool apply(const QString& group, const QString& key, const QVariant& value);

    Scheme scheme_ = Scheme::Unknown;
    bool reducedMotion_ = false;
};

} // namespace teskal
