#include "LocalService.h"
#include "WaitUntil.h"

#include <QDir>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <memory>

using namespace teskal::test;

/// The program as the desktop starts and ends it.
class TestProcessJourney : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void answersWithoutADisplay_data();
    void answersWithoutADisplay();
    void endsWithStatusZeroWhenTold_data();
    void endsWithStatusZeroWhenTold();
    void secondStartHandsOver();

private:
    static QProcessEnvironment environment(const QTemporaryDir& home);
    static std::unique_ptr<QProcess> start(const QTemporaryDir& home, const QStringList& arguments);
    static bool isUp(const QTemporaryDir& home);
};

QProcessEnvironment TestProcessJourney::environment(const QTemporaryDir& home) {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    QDir(home.path()).mkpath(QStringLiteral("run"));
    QFile::setPermissions(home.filePath(QStringLiteral("run")),
                          QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    environment.insert(QStringLiteral("XDG_DATA_HOME"), home.filePath(QStringLiteral("data")));
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), home.filePath(QStringLiteral("config")));
    environment.insert(QStringLiteral("XDG_CACHE_HOME"), home.filePath(QStringLiteral("cache")));
    environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), home.filePath(QStringLiteral("run")));
    return environment;
}

std::unique_ptr<QProcess> TestProcessJourney::start(const QTemporaryDir& home, const QStringList& arguments) {
    auto process = std::make_unique<QProcess>();
    process->setProcessEnvironment(environment(home));
    process->setProcessChannelMode(QProcess::MergedChannels);
    process->start(QStringLiteral(TESKAL_PROGRAM), arguments);
    return process;
}

/// Whether the process listens for second starts; signals are taken from then on, or end it as they always
/// do.
bool TestProcessJourney::isUp(const QTemporaryDir& home) {
    QDir runtime(home.filePath(QStringLiteral("run")));
    return !runtime.entryList(QDir::Files | QDir::System | QDir::NoDotAndDotDot).isEmpty();
}

void TestProcessJourney::answersWithoutADisplay_data() {
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("said");
    QTest::newRow("help") << QStringList{QStringLiteral("--help")} << 0 << QByteArray("Usage: teskal");
    QTest::newRow("version") << QStringList{QStringLiteral("--version")} << 0 << QByteArray("teskal 0.");
    QTest::newRow("unknown option") << QStringList{QStringLiteral("--bogus")} << 2 << QByteArray("bogus");
    QTest::newRow("service elsewhere")
        << QStringList{QStringLiteral("--service"), QStringLiteral("http://example.org")} << 2
        << QByteArray("on this machine");
    QTest::newRow("another link") << QStringList{QStringLiteral("https://example.org/callback")} << 2
                                  << QByteArray("not a link of the sign-in");
}

void TestProcessJourney::answersWithoutADisplay() {
    QFETCH(QStringList, arguments);
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    QProcessEnvironment bare = QProcessEnvironment::systemEnvironment();
    for (const char* variable : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"})
        bare.remove(QLatin1String(variable));
    process.setProcessEnvironment(bare);
    process.start(QStringLiteral(TESKAL_PROGRAM), arguments);
    QVERIFY(process.waitForFinished(20'000));
    QTEST(process.exitCode(), "status");
    QFETCH(QByteArray, said);
    QVERIFY2(process.readAll().contains(said), said.constData());
}

void TestProcessJourney::endsWithStatusZeroWhenTold_data() {
    QTest::addColumn<int>("number");
    QTest::newRow("SIGTERM") << SIGTERM;
    QTest::newRow("SIGINT") << SIGINT;
    QTest::newRow("SIGHUP") << SIGHUP;
}

void TestProcessJourney::endsWithStatusZeroWhenTold() {
    QFETCH(int, number);
    const LocalService service;
    const QTemporaryDir home;
    const auto process = start(home, {QStringLiteral("--service"), service.origin().toString()});
    QVERIFY(waitUntil([&] { return isUp(home); }, std::chrono::seconds(30)));
    QCOMPARE(::kill(pid_t(process->processId()), number), 0);
    QVERIFY(process->waitForFinished(20'000));
    QCOMPARE(process->exitStatus(), QProcess::NormalExit);
    QCOMPARE(process->exitCode(), 0);
}

void TestProcessJourney::secondStartHandsOver() {
    const LocalService service;
    const QTemporaryDir home;
    const QStringList arguments{QStringLiteral("--service"), service.origin().toString()};
    const auto first = start(home, arguments);
    QVERIFY(waitUntil([&] { return isUp(home); }, std::chrono::seconds(30)));
    const auto second = start(home, arguments);
    QVERIFY(second->waitForFinished(20'000));
    QCOMPARE(second->exitCode(), 0);
    QCOMPARE(first->state(), QProcess::Running);
    first->terminate();
    QVERIFY(first->waitForFinished(20'000));
}

QTEST_GUILESS_MAIN(TestProcessJourney)
#include "TestProcessJourney.moc"
