#include "Columns.h"
#include "SyncTest.h"

using namespace teskal::test;
using namespace std::chrono_literals;

namespace {

const QString other = u"account2"_qs;

/// What the control interface counts these requests by.
QString requestsTo(const QString& path, const QString& method) {
    return u"%1&method=%2"_qs.arg(path, method);
}

} // namespace

/// The account changes while something of it is under way: nothing of the old one reaches the new one.
class TestSyncAccounts final : public SyncTest {
    Q_OBJECT
private Q_SLOTS:
    void nothingOfTheOldAccountArrives_data() {
        // path: of the request that is under way; empty for the delay before it; skip: requests of that kind
        // that go through first; back: the old account is claimed again
        columns<QString, QString, int, bool>("path", "method", "skip", "back");
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
        FETCH(QString, path, QString, method, int, skip, bool, back);
        const QString theirs = newAccount();
        // Something of everything: a chat to pull, one to push with a file, a deletion, a folder.
        device().isOffline = true;
        const QString pushed = device().store().create(u"secret"_qs);
        device().store().update(pushed, ChatStore::Touch::Yes, ChatStore::Save::Yes, [](Chat& chat) {
            chat.messages.append(chatOf({}, 0).messages);
            chat.messages.last().attachments.append(fileOf(u"image/png"_qs));
        });
        device().store().remove(device().store().create(u"gone"_qs));
        device().folders().create(u"secret folder"_qs);
        device().isOffline = false;
        atService(chatOf(u"remote"_qs, 5, u"secret too"_qs));

        if (path.isEmpty()) {
            device().sync().syncSoon(1500ms);
            device().folders().syncSoon(800ms);
        } else {
            const auto before = int(control_.requests(requestsTo(path, method)).size());
            next(path, method,
                 {{u"skip"_qs, skip},
                  {u"delayMs"_qs, 60'000},
                  {u"process"_qs, true}}); // it ends when the client leaves
            device().sync().syncSoon(0ms);
            device().folders().syncSoon(0ms);
            clock_->advance(0ms);
            QVERIFY(control_.wait(requestsTo(path, method), u"received"_qs, before + skip + 1));
        }
        device().claim(other, theirs);
        if (back) { // a task of the first claim must not take the second for its own
            device().claim(Device::account, token_);
            device().claim(other, theirs);
        }
        const LogCapture log;
        settle(5s);
        QCOMPARE(device().store().count(), 0);
        QCOMPARE(device().folders().folders().size(), 0);
        QCOMPARE(device().listed(true), QStringList());
        device().store().create(u"public"_qs); // so that files are written
        device().folders().create(u"public"_qs);
        device().claim(std::nullopt);
        const QStringList files = QDir(device().path(QString())).entryList({u"account2*"_qs});
        QVERIFY(files.size() >= 2);
        for (const QString& file : files) {
            const QByteArray bytes = contentOf(device().path(file));
            QVERIFY2(!bytes.contains("secret") && !bytes.contains("remote") &&
                         !bytes.contains(pushed.toLatin1()),
                     bytes.constData());
        }

        // What was cut off is made good when the account comes back.
        device().claim(Device::account, token_);
        settle(5s);
        QCOMPARE(device().store().count(), 2);
        QVERIFY(device().store().message(pushed, u"m"_qs)->attachments.first().fileId);
        QCOMPARE(device().listed().size(), 2);
        QCOMPARE(log.lines(), QStringList());
    }
};

QTEST_GUILESS_MAIN(TestSyncAccounts)
#include "TestSyncAccounts.moc"
