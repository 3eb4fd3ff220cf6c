#include "Columns.h"
#include "DesktopNotifications.h"
#include "FileManager.h"

#include <QDBusConnection>
#include <QDBusMessage>

using namespace teskal::test;

namespace {

const QString notifications = u"org.freedesktop.Notifications"_qs;
const QString notificationsPath = u"/org/freedesktop/Notifications"_qs;

/// What the desktop was told, and what it says back.
class Desktop final : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")

public:
    struct Note {
        uint replaces;
        QString title;
        QString body;
    };
    QList<Note> notes;
    QList<uint> closed;

public Q_SLOTS:
    uint Notify(const QString& /*application*/, uint replaces, const QString& /*icon*/, const QString& title,
                const QString& body, const QStringList& actions, const QVariantMap& hints, int /*timeout*/) {
        if (actions.value(0) != u"default" || hints.isEmpty())
            return 0;
        notes.append({replaces, title, body});
        return replaces != 0 ? replaces : uint(notes.size());
    }
    void CloseNotification(uint id) { closed.append(id); }

Q_SIGNALS:
    void ActionInvoked(uint id, const QString& action);
    void ActivationToken(uint id, const QString& token);
    void NotificationClosed(uint id, uint reason);
};

class Files final : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.FileManager1")

public:
    QStringList shown;

public Q_SLOTS:
    void ShowItems(const QStringList& uris, const QString& /*startupId*/) { shown += uris; }
};

/// The desktop's own way to the bus: what it says arrives in the order in which it was said.
QDBusConnection desktopBus() {
    return QDBusConnection::connectToBus(QDBusConnection::SessionBus, u"desktop"_qs);
}

constexpr auto whole = QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllSignals;

} // namespace

class TestDesktopServices final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void notifications_() {
        auto bus = desktopBus();
        Desktop desktop;
        QVERIFY(bus.registerObject(notificationsPath, &desktop, whole));
        QVERIFY(bus.registerService(notifications));
        DesktopNotifications notifier;
        QSignalSpy clicks(&notifier, &DesktopNotifications::clicked);
        notifier.show(u"a"_qs, u"Ships & <b>"_qs, u"<i>1 & 2</i>"_qs);
        notifier.show(u"b"_qs, u"B"_qs, u"x"_qs);
        QVERIFY(waitUntil([&] { return desktop.notes.size() == 2; }));
        QCOMPARE(desktop.notes[0].title, u"Ships & <b>"_qs);
        QCOMPARE(desktop.notes[0].body, u"&lt;i&gt;1 &amp; 2&lt;/i&gt;"_qs);

        Q_EMIT desktop.ActivationToken(2, u"token"_qs);
        Q_EMIT desktop.ActionInvoked(99, u"default"_qs); // of another application
        Q_EMIT desktop.ActionInvoked(2, u"other"_qs);
        Q_EMIT desktop.ActionInvoked(2, u"default"_qs);
        QVERIFY(waitUntil([&] { return !clicks.isEmpty(); }));
        QCOMPARE(clicks.takeFirst(), (QVariantList{u"b"_qs, QByteArray("token")}));

        notifier.show(u"a"_qs, u"A"_qs, u"again"_qs);
        QVERIFY(waitUntil([&] { return desktop.notes.size() == 3; }));
        QCOMPARE(desktop.notes[2].replaces, 1U);
        Q_EMIT desktop.NotificationClosed(2, 2);
        Q_EMIT desktop.ActionInvoked(1, u"default"_qs);
        QVERIFY(waitUntil([&] { return !clicks.isEmpty(); })); // what was said before has arrived, too
        QCOMPARE(clicks.first().first().toString(), u"a"_qs);
        notifier.withdraw(u"a"_qs);
        QVERIFY(waitUntil([&] { return !desktop.closed.isEmpty(); }));
        notifier.withdraw(u"b"_qs); // closed by the user already
        notifier.show(u"b"_qs, u"B"_qs, u"new"_qs);
        QVERIFY(waitUntil([&] { return desktop.notes.size() == 4; }));
        QCOMPARE(desktop.notes[3].replaces, 0U);
        QCOMPARE(desktop.closed, QList<uint>{1});

        // Gone, or replaced, before anybody knew its number: that is 5, and 6 before 7.
        notifier.show(u"c"_qs, u"C"_qs, u"x"_qs);
        notifier.withdraw(u"c"_qs);
        notifier.show(u"d"_qs, u"D"_qs, u"x"_qs);
        notifier.show(u"d"_qs, u"D"_qs, u"y"_qs);
        QVERIFY(waitUntil([&] { return desktop.closed.size() == 3; }));
        QCOMPARE(desktop.closed, (QList<uint>{1, 5, 6}));
        notifier.withdrawAll();
        QVERIFY(waitUntil([&] { return desktop.closed.size() == 5; }));
        QVERIFY(desktop.closed.contains(4) && desktop.closed.last() != desktop.closed[3]);
        bus.unregisterService(notifications);
    }

    void noServiceIsNoHarm() {
        DesktopNotifications notifier;
        QSignalSpy clicks(&notifier, &DesktopNotifications::clicked);
        notifier.show(u"a"_qs, u"A"_qs, u"x"_qs);
        notifier.withdraw(u"a"_qs);
        QCoreApplication::processEvents();
        QCOMPARE(clicks.size(), 0);
    }

    void folderIsShown() {
        auto bus = desktopBus();
        Files files;
        QVERIFY(bus.registerObject(u"/org/freedesktop/FileManager1"_qs, &files, whole));
        QVERIFY(bus.registerService(u"org.freedesktop.FileManager1"_qs));
        FileManager::reveal(u"/tmp/a folder"_qs);
        QVERIFY(waitUntil([&] { return !files.shown.isEmpty(); }));
        QCOMPARE(files.shown, QStringList{u"file:///tmp/a%20folder"_qs});
    }
};

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    if (!QDBusConnection::sessionBus().isConnected())
        qFatal("no session bus");
    TestDesktopServices tests;
    return QTest::qExec(&tests, argc, argv);
}
#include "TestDesktopServices.moc"
