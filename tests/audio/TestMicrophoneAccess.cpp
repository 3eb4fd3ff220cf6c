#include "Cancelled.h"
#include "MicrophoneAccess.h"
#include "Pending.h"

#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QTest>

using namespace teskal;
using namespace teskal::test;

namespace {

const QString service = QStringLiteral("org.freedesktop.portal.Desktop");

/// The desktop's side: a second connection of this program.
class Portal final : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Settings")
public:
    QVariant value; ///< invalid: there is no such setting
    bool hangs = false;
    QStringList asked;

public Q_SLOTS:
    QDBusVariant Read(const QString& group, const QString& key) { // NOLINT: the portal's name
        asked.append(group + u' ' + key);
        if (hangs)
            setDelayedReply(true);
        else if (!value.isValid())
            sendErrorReply(QStringLiteral("org.freedesktop.portal.Error.NotFound"), QString());
        // The portal wraps what it reads once more.
        return QDBusVariant(QVariant::fromValue(QDBusVariant(value)));
    }
};

bool access() {
    return waitFor([](std::stop_token stop) { return microphoneAccess(std::move(stop)); });
}

} // namespace

/// The desktop's switch counts where there is one; nothing else keeps the user from speaking.
class TestMicrophoneAccess final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void withoutPortal();
    void portal_data();
    void portal();
    void stoppedWhileAsking();

private:
    bool takePortal();

    QDBusConnection connection_ =
        QDBusConnection::connectToBus(QDBusConnection::SessionBus, QStringLiteral("portal"));
    Portal portal_;
    bool taken_ = false;
};

void TestMicrophoneAccess::withoutPortal() {
    QVERIFY(access());
}

bool TestMicrophoneAccess::takePortal() {
    taken_ = taken_ || (connection_.registerService(service) &&
                        connection_.registerObject(QStringLiteral("/org/freedesktop/portal/desktop"),
                                                   &portal_, QDBusConnection::ExportAllSlots));
    return taken_;
}

void TestMicrophoneAccess::portal_data() {
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<bool>("hangs");
    QTest::addColumn<bool>("granted");
    QTest::newRow("switched off") << QVariant(true) << false << false;
    QTest::newRow("switched on") << QVariant(false) << false << true;
    QTest::newRow("another desktop") << QVariant() << false << true;
    QTest::newRow("nonsense") << QVariant(QStringLiteral("true")) << false << true;
    QTest::newRow("no answer") << QVariant(true) << true << true;
}

void TestMicrophoneAccess::portal() {
    if (!connection_.isConnected())
        QSKIP("there is no session bus; the test microphone_access_dbus brings one");
    QVERIFY(takePortal());
    QFETCH(const QVariant, value);
    QFETCH(const bool, hangs);
    portal_.value = value;
    portal_.hangs = hangs;
    portal_.asked.clear();
    QTEST(access(), "granted");
    QCOMPARE(portal_.asked, QStringList{QStringLiteral("org.gnome.desktop.privacy disable-microphone")});
}

void TestMicrophoneAccess::stoppedWhileAsking() {
    if (!connection_.isConnected())
        QSKIP("there is no session bus; the test microphone_access_dbus brings one");
    QVERIFY(takePortal());
    portal_.hangs = true;
    auto asking = start([](std::stop_token stop) { return microphoneAccess(std::move(stop)); });
    asking.stop();
    QVERIFY(asking.error<Cancelled>());
}

QTEST_GUILESS_MAIN(TestMicrophoneAccess)
#include "TestMicrophoneAccess.moc"
