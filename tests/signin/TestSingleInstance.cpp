#include "CallbackLink.h"
#include "Columns.h"
#include "SingleInstance.h"
#include "TestFiles.h"

#include <QLocalSocket>
#include <QProcess>

using namespace teskal::test;

namespace {

const QString callback = u"app.teskal.mac://callback?code=c%2F1&state=s"_qs;

} // namespace

class TestSingleInstance : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() {
        // The build folder's path may be too long for a socket.
        QFile::setPermissions(runtime_.path(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        qputenv("XDG_RUNTIME_DIR", runtime_.path().toUtf8());
    }

    void init() {
        folder_ = std::make_unique<QTemporaryDir>();
        path_ = folder_->path();
        first_ = std::make_unique<SingleInstance>(path_);
        QVERIFY(first_->claim());
        heard_.clear();
        connect(first_.get(), &SingleInstance::linkReceived, this,
                [this](const QUrl& link) { heard_ += link.toString(QUrl::FullyEncoded); });
        connect(first_.get(), &SingleInstance::newChatRequested, this, [this] { heard_ += u"new chat"_qs; });
        connect(first_.get(), &SingleInstance::quitRequested, this, [this] { heard_ += u"quit"_qs; });
        connect(first_.get(), &SingleInstance::activationRequested, this,
                [this](const QByteArray& token) { heard_ += u"activate "_qs + QString::fromLatin1(token); });
    }

    void secondStart_data() {
        const auto row = columns<QStringList, bool>("arguments", "isLink");
        row("link", QStringList{callback}, true);
        row("link behind an option", QStringList{u"--style"_qs, callback}, true);
        row("nothing");
        row("another link", QStringList{u"https://example.org/?code=1"_qs});
        row("overlong link", QStringList{callback + QString(maxCallbackLinkLength, QLatin1Char('x'))});
    }
    void secondStart() {
        FETCH(QStringList, arguments, bool, isLink);
        QCOMPARE(runSecond(path_, arguments), 0);
        const QStringList activation{u"activate token-1"_qs};
        QCOMPARE(heard_, isLink ? QStringList{callback} + activation : activation);
    }

    void othersWishes_data() {
        const auto row = columns<QByteArray, QStringList>("line", "said");
        row("new chat", "new-chat\tt", QStringList{u"new chat"_qs, u"activate t"_qs});
        row("no token", "new-chat\t", QStringList{u"new chat"_qs, u"activate "_qs});
        row("quit", "quit\tt", QStringList{u"quit"_qs});
    }
    void othersWishes() {
        FETCH(QByteArray, line, QStringList, said);
        QVERIFY(replyTo(line + '\n'));
        QCOMPARE(heard_, said);
    }

    void foldersAreApart() {
        const QTemporaryDir other;
        QCOMPARE(runSecond(other.path(), {}), 3);
    }

    void takesOverFromAProcessThatDied() {
        const QTemporaryDir folder;
        QCOMPARE(runSecond(folder.path(), {}), 3); // was first, is gone
        const QString socket = instanceSocketPath(folder.filePath(u"instance.lock"_qs));
        writeFile(socket, {}); // and left its socket behind
        SingleInstance first(folder.path());
        QVERIFY(first.claim());
        QCOMPARE(runSecond(folder.path(), {}), 0);
        const auto others = QFile::ReadGroup | QFile::WriteGroup | QFile::ReadOther | QFile::WriteOther;
        QVERIFY(!(QFile::permissions(socket) & others));
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
        QCOMPARE(replyTo(bytes).value_or("none"), QByteArray());
        QCOMPARE(heard_, QStringList());
        QCOMPARE(runSecond(path_, {}), 0); // and it still serves
    }

    void crowdIsServedAfterwards() {
        std::vector<std::unique_ptr<QLocalSocket>> crowd;
        for (int i = 0; i < 60; ++i) {
            crowd.push_back(std::make_unique<QLocalSocket>());
            crowd.back()->connectToServer(socketPath());
        }
        const auto open = [&] {
            return std::count_if(crowd.begin(), crowd.end(), [](const auto& socket) {
                return socket->state() == QLocalSocket::ConnectedState;
            });
        };
        QVERIFY(waitUntil([&] { return open() <= 16; }));
        crowd.clear();
        QCOMPARE(runSecond(path_, {}), 0);
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

    QString socketPath() const { return instanceSocketPath(folder_->filePath(u"instance.lock"_qs)); }
    /// What the first instance says to \a bytes before it hangs up; none when it does not.
    std::optional<QByteArray> replyTo(const QByteArray& bytes) const {
        QLocalSocket socket;
        socket.connectToServer(socketPath());
        if (!socket.waitForConnected(5000))
            return std::nullopt;
        socket.write(bytes);
        const bool hangsUp = waitUntil([&] { return socket.state() == QLocalSocket::UnconnectedState; });
        return hangsUp ? std::optional(socket.readAll()) : std::nullopt;
    }

    QTemporaryDir runtime_;
    std::unique_ptr<QTemporaryDir> folder_;
    QString path_;
    std::unique_ptr<SingleInstance> first_;
    QStringList heard_;
};

QTEST_GUILESS_MAIN(TestSingleInstance)
#include "TestSingleInstance.moc"
