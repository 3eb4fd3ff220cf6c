#include "Cancelled.h"
#include "Columns.h"
#include "MicrophoneAccess.h"
#include "Pending.h"

#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusMessage>
#include <QDBusVariant>

using namespace teskal::test;

namespace {

const QString service = u"org.freedesktop.portal.Desktop"_qs;

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
            sendErrorReply(u"org.freedesktop.portal.Error.NotFound"_qs, QString());
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
    void withoutPortal() { QVERIFY(access()); }

    void portal_data() {
        const auto row = columns<QVariant, bool, bool>("value", "hangs", "granted");
        row("switched off", QVariant(true), false, false);
        row("switched on", QVariant(false), false, true);
        row("another desktop", QVariant(), false, true);
        row("nonsense", QVariant(u"true"_qs), false, true);
        row("no answer", QVariant(true), true, true);
    }

    void portal() {
        if (!connection_.isConnected())
            QSKIP("there is no session bus; the test microphone_access_dbus brings one");
        QVERIFY(takePortal());
        FETCH(QVariant, value, bool, hangs);
        portal_.value = value;
        portal_.hangs = hangs;
        portal_.asked.clear();
        QTEST(access(), "granted");
        QCOMPARE(portal_.asked, QStringList{u"org.gnome.desktop.privacy disable-microphone"_qs});
        if (!hangs)
            return;
        auto asking = start([](std::stop_token stop) { return microphoneAccess(std::move(stop)); });
        asking.stop();
        QVERIFY(asking.error<Cancelled>());
    }

private:
    bool takePortal() {
        taken_ = taken_ || (connection_.registerService(service) &&
                            connection_.registerObject(u"/org/freedesktop/portal/desktop"_qs, &portal_,
                                                       QDBusConnection::ExportAllSlots));
        return taken_;
    }

    QDBusConnection connection_ = QDBusConnection::connectToBus(QDBusConnection::SessionBus, u"portal"_qs);
    Portal portal_;
    bool taken_ = false;
};

QTEST_GUILESS_MAIN(TestMicrophoneAccess)
#include "TestMicrophoneAccess.moc"
