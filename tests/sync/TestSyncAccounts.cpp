#include "Columns.h"
#include "Device.h"
#include "LocalService.h"
#include "LogCapture.h"
#include "Pending.h"
#include "ServiceControl.h"
#include "TestFiles.h"

#include <QTest>

using namespace teskal;
using namespace teskal::test;
using namespace std::chrono_literals;

namespace {

const QString other = QStringLiteral("account2");

/// What the control interface counts these requests by.
QString requestsTo(const QString& path, const QString& method) {
    return QStringLiteral("%1&method=%2").arg(path, method);
}

void addPicture(Chat& chat) {
    ChatMessage message;
    message.id = QStringLiteral("m");
    message.attachments.append({QStringLiteral("n"),
                                QStringLiteral("image/png"),
                                QStringLiteral("data:image/png;base64,AAAA"),
                                {},
                                false});
    chat.messages.append(message);
}

} // namespace

/// The account changes while something of it is under way: nothing of the old one reaches the new one.
class TestSyncAccounts final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void nothingOfTheOldAccountArrives_data() {
        QTest::addColumn<QString>(
            "path"); ///< of the request that is under way; empty for the delay before it
        // skip: requests of that kind that go through first; back: the old account is claimed again
        columns<QString, int, bool>("method", "skip", "back");
        const auto row = [](const char* name, const char* path, const char* method, int skip = 0) {
            for (const bool back : {false, true})
                QTest::addRow("%s%s", name, back ? ", and back" : "")
                    << QString::fromLatin1(path) << QString::fromLatin1(method) << skip << back;
        };
        row("delay", "", "");
        row("list", "/api/chats", "GET");
        row("pull", "/api/chats", "GET", 1);
        row("deletion", "/api/chats", "DELETE");
        row("upload", "/api/files", "POST");
        row("push", "/api/chats", "PUT");
        row("folders", "/api/folders", "PUT");
    }
    void nothingOfTheOldAccountArrives() {
        QFETCH(const QString, path);
        QFETCH(const QString, method);
        QFETCH(const int, skip);
        QFETCH(const bool, back);
        control_.post(QStringLiteral("reset"), QJsonObject());
        const QString mine = signIn();
        const QString theirs = signIn();
        ManualClock clock(1'800'000'000'000.0);
        Device device(service_.origin(), mine, clock);
        const auto settle = [&] {
            clock.advance(0ms);
            return waitUntil(
                [&] { return !device.sync().isRunning() && !device.folders().exchange().isUnderWay(); });
        };
        QVERIFY(settle());
        // Something of everything: a chat to pull, one to push with a file, a deletion, a folder.
        device.isOffline = true;
        const QString pushed = device.store().create(QStringLiteral("secret"));
        device.store().update(pushed, ChatStore::Touch::Yes, ChatStore::Save::Yes, addPicture);
        device.store().remove(device.store().create(QStringLiteral("gone")));
        device.folders().create(QStringLiteral("secret folder"));
        device.isOffline = false;
        WireChat remote;
        remote.id = QStringLiteral("remote");
        remote.title = QStringLiteral("secret too");
        remote.updatedAt = 5;
        const TeskalAPI api = device.api();
        waitFor([&](std::stop_token stop) { return api.putChat(remote, stop); });

        if (path.isEmpty()) {
            device.sync().syncSoon(1500ms);
            device.folders().syncSoon(800ms);
        } else {
            const auto before = int(control_.requests(requestsTo(path, method)).size());
            control_.next({{QStringLiteral("path"), path},
                           {QStringLiteral("method"), method},
                           {QStringLiteral("skip"), skip},
                           {QStringLiteral("delayMs"), 60'000}, // it ends when the client leaves
                           {QStringLiteral("process"), true}});
            device.sync().syncSoon(0ms);
            device.folders().syncSoon(0ms);
            clock.advance(0ms);
            QVERIFY(control_.wait(requestsTo(path, method), QStringLiteral("received"), before + skip + 1));
        }
        device.claim(other, theirs);
        if (back) { // a task of the first claim must not take the second for its own
            device.claim(Device::account, mine);
            device.claim(other, theirs);
        }
        const LogCapture log;
        clock.advance(5s);
        QVERIFY(settle());
        QCOMPARE(device.store().count(), 0);
        QCOMPARE(device.folders().folders().size(), 0);
        const TeskalAPI otherApi = device.api();
        QCOMPARE(waitFor([&](std::stop_token stop) { return otherApi.listChats(stop); }).chats.size(), 0);
        device.store().create(QStringLiteral("public")); // so that files are written
        device.folders().create(QStringLiteral("public"));
        device.claim(std::nullopt);
        const QStringList files = QDir(device.path(QString())).entryList({QStringLiteral("account2*")});
        QVERIFY(files.size() >= 2);
        for (const QString& file : files) {
            const QByteArray bytes = contentOf(device.path(file));
            QVERIFY2(!bytes.contains("secret") && !bytes.contains("remote") &&
                         !bytes.contains(pushed.toLatin1()),
                     bytes.constData());
        }

        // What was cut off is made good when the account comes back.
        device.claim(Device::account, mine);
        clock.advance(5s);
        QVERIFY(settle());
        QCOMPARE(device.store().count(), 2);
        QVERIFY(device.store().message(pushed, QStringLiteral("m"))->attachments.first().fileId);
        const ChatList list = waitFor([&](std::stop_token stop) { return api.listChats(stop); });
        QCOMPARE(std::count_if(list.chats.cbegin(), list.chats.cend(),
                               [](const auto& entry) { return !entry.deleted; }),
                 2);
        QCOMPARE(log.lines(), QStringList());
    }

private:
    QString signIn() { return control_.accessToken(QStringLiteral("u%1@example.org").arg(++accounts_)); }

    int accounts_ = 0;
    LocalService service_{{QStringLiteral("--access-token-seconds"), QStringLiteral("100000000")}};
    ServiceControl control_{service_};
};

QTEST_GUILESS_MAIN(TestSyncAccounts)
#include "TestSyncAccounts.moc"
