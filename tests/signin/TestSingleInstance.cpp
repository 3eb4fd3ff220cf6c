#include "CallbackLink.h"
#include "Columns.h"
#include "SingleInstance.h"
#include "WaitUntil.h"

#include <QFile>
#include <QFileInfo>
#include <QLocalSocket>
#include <QProcess>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

namespace teskal::test {

namespace {

const QString callback = QStringLiteral("app.teskal.mac://callback?code=c%2F1&state=s");

} // namespace

class TestSingleInstance : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() {
        // The build folder's path may be too long for a socket.
        QFile::setPermissions(runtime_.path(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        qputenv("XDG_RUNTIME_DIR", runtime_.path().toUtf8());
    }

    void secondStart_data() {
        const auto row = columns<QStringList, QUrl>("arguments", "link");
        row("link", QStringList{callback}, QUrl(callback));
        row("link behind an option", QStringList{QStringLiteral("--style"), callback}, QUrl(callback));
        row("nothing", QStringList{}, QUrl());
        row("another link", QStringList{QStringLiteral("https://example.org/?code=1")}, QUrl());
        row("overlong link", QStringList{callback + QString(maxCallbackLinkLength, QLatin1Char('x'))},
            QUrl());
    }
    void secondStart() {
        QFETCH(QStringList, arguments);
        QFETCH(QUrl, link);
        QTemporaryDir folder;
        SingleInstance first(folder.path());
        QVERIFY(first.claim());
        QSignalSpy links(&first, &SingleInstance::linkReceived);
        QSignalSpy activations(&first, &SingleInstance::activationRequested);
        QCOMPARE(runSecond(folder.path(), arguments), 0);
        QCOMPARE(activations.count(), 1);
        QCOMPARE(activations.first().first().toByteArray(), QByteArray("token-1"));
        QCOMPARE(links.count(), link.isEmpty() ? 0 : 1);
        if (!link.isEmpty())
            QCOMPARE(links.first().first().toUrl(), link);
    }

    void othersWishes_data() {
        const auto row = columns<QByteArray, QStringList>("line", "said");
        const QString newChat = QStringLiteral("new chat");
        row("new chat", "new-chat\tt", QStringList{newChat, QStringLiteral("t")});
        row("no token", "new-chat\t", QStringList{newChat, QString()});
        row("quit", "quit\tt", QStringList{QStringLiteral("quit")});
    }
    void othersWishes() {
        QFETCH(QByteArray, line);
        QFETCH(QStringList, said);
        QTemporaryDir folder;
        SingleInstance first(folder.path());
        QVERIFY(first.claim());
        QStringList heard;
        connect(&first, &SingleInstance::newChatRequested, this,
                [&] { heard += QStringLiteral("new chat"); });
        connect(&first, &SingleInstance::quitRequested, this, [&] { heard += QStringLiteral("quit"); });
        connect(&first, &SingleInstance::activationRequested, this,
                [&](const QByteArray& token) { heard += QString::fromLatin1(token); });
        QLocalSocket socket;
        socket.connectToServer(instanceSocketPath(folder.filePath(QStringLiteral("instance.lock"))));
        QVERIFY(socket.waitForConnected(5000));
        socket.write(line + '\n');
        QVERIFY(waitUntil([&] { return socket.state() == QLocalSocket::UnconnectedState; }));
        QCOMPARE(heard, said);
    }

    void foldersAreApart() {
        QTemporaryDir one;
        QTemporaryDir other;
        SingleInstance first(one.path());
        QVERIFY(first.claim());
        QCOMPARE(runSecond(other.path(), {}), 3);
    }

    void takesOverFromAProcessThatDied() {
        QTemporaryDir folder;
        QCOMPARE(runSecond(folder.path(), {}), 3); // was first, is gone
        const QString lock = folder.filePath(QStringLiteral("instance.lock"));
        QFile socket(instanceSocketPath(lock)); // and left its socket behind
        QVERIFY(socket.open(QFile::WriteOnly));
        socket.close();
        SingleInstance first(folder.path());
        QVERIFY(first.claim());
        QCOMPARE(runSecond(folder.path(), {}), 0);
        const auto others = QFile::ReadGroup | QFile::WriteGroup | QFile::ReadOther | QFile::WriteOther;
        QVERIFY(!(QFile::permissions(instanceSocketPath(lock)) & others));
    }

    void droppedInput_data() {
        const auto row = columns<QByteArray>("bytes");
        row("unknown word", "restart\t\n");
        row("empty line", "\n");
        row("too few fields", "quit\n");
        row("too many fields", "activate\t\tmore\n");
        row("token of several words", "activate\ta b\n");
        row("overlong token", QByteArray("activate\t") + QByteArray(300, 'x') + '\n');
        row("link of another scheme", "link\t\thttps://example.org/\n");
        row("file", "link\t\tfile:///etc/passwd\n");
        row("link without scheme", "link\t\tcallback?code=1\n");
        row("zero bytes", QByteArray(100, '\0') + '\n');
        row("not UTF-8", "link\t\t\xff\xfe\n");
        row("overlong link", "link\t\t" + callback.toUtf8() + QByteArray(20'000, 'x') + '\n');
        row("endless line", QByteArray(maxInstanceLine + 1, 'a'));
        row("endless link", "link\t\t" + callback.toUtf8() + QByteArray(4 * maxInstanceLine, 'a'));
    }
    void droppedInput() {
        QFETCH(QByteArray, bytes);
        QTemporaryDir folder;
        SingleInstance first(folder.path());
        QVERIFY(first.claim());
        QSignalSpy links(&first, &SingleInstance::linkReceived);
        QSignalSpy activations(&first, &SingleInstance::activationRequested);
        QLocalSocket socket;
        socket.connectToServer(instanceSocketPath(folder.filePath(QStringLiteral("instance.lock"))));
        QVERIFY(socket.waitForConnected(5000));
        socket.write(bytes);
        QVERIFY(waitUntil([&] { return socket.state() == QLocalSocket::UnconnectedState; }));
        QCOMPARE(socket.readAll(), QByteArray());
        QCOMPARE(links.count() + activations.count(), 0);
        QCOMPARE(runSecond(folder.path(), {}), 0); // and it still serves
    }

    void crowdIsServedAfterwards() {
        QTemporaryDir folder;
        SingleInstance first(folder.path());
        QVERIFY(first.claim());
        const QString path = instanceSocketPath(folder.filePath(QStringLiteral("instance.lock")));
        std::vector<std::unique_ptr<QLocalSocket>> crowd;
        for (int i = 0; i < 60; ++i) {
            crowd.push_back(std::make_unique<QLocalSocket>());
            crowd.back()->connectToServer(path);
        }
        const auto open = [&] {
            return std::count_if(crowd.begin(), crowd.end(), [](const auto& socket) {
                return socket->state() == QLocalSocket::ConnectedState;
            });
        };
        QVERIFY(waitUntil([&] { return open() <= 16; }));
        crowd.clear();
        QCOMPARE(runSecond(folder.path(), {}), 0);
    }

private:
    static int runSecond(const QString& folder, const QStringList& arguments) {
        QProcess process;
        process.setProcessChannelMode(QProcess::ForwardedChannels);
        process.start(QStringLiteral(TESKAL_SECOND_START), QStringList{folder} + arguments);
        if (!waitUntil([&] { return process.state() == QProcess::NotRunning; }))
            return -1;
        return process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -2;
    }

    QTemporaryDir runtime_;
};

} // namespace teskal::test

QTEST_GUILESS_MAIN(teskal::test::TestSingleInstance)
#include "TestSingleInstance.moc"
