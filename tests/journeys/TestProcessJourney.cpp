#include "Columns.h"
#include "LocalService.h"
#include "WaitUntil.h"

#include <QDir>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <memory>

using namespace teskal::test;

namespace {

/// The names of the programs that \a process has started.
QStringList helpersOf(qint64 process) {
    QStringList names;
    QFile children(u"/proc/%1/task/%1/children"_qs.arg(process));
    if (!children.open(QFile::ReadOnly))
        return names;
    for (const QByteArray& child : children.readAll().simplified().split(' '))
        names.append(
            QFileInfo(u"/proc/%1/exe"_qs.arg(QString::fromLatin1(child))).symLinkTarget().section(u'/', -1));
    return names;
}

} // namespace

/// The program as the desktop starts and ends it.
class TestProcessJourney : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { home_ = std::make_unique<QTemporaryDir>(); }

    void answersWithoutADisplay_data() {
        const auto row = columns<QStringList, int, QByteArray>("arguments", "status", "said");
        row("help", QStringList{u"--help"_qs}, 0, "Usage: teskal");
        row("version", QStringList{u"--version"_qs}, 0, "teskal 0.");
        row("unknown option", QStringList{u"--bogus"_qs}, 2, "bogus");
        row("service elsewhere", QStringList{u"--service"_qs, u"http://example.org"_qs}, 2,
            "on this machine");
        row("another link", QStringList{u"https://example.org/callback"_qs}, 2, "not a link of the sign-in");
    }
    void answersWithoutADisplay() {
        FETCH(QStringList, arguments, QByteArray, said);
        QProcess process;
        process.setProcessChannelMode(QProcess::MergedChannels);
        QProcessEnvironment bare = QProcessEnvironment::systemEnvironment();
        for (const char* variable : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"})
            bare.remove(QLatin1String(variable));
        process.setProcessEnvironment(bare);
        process.start(QStringLiteral(TESKAL_PROGRAM), arguments);
        QVERIFY(process.waitForFinished(20'000));
        QTEST(process.exitCode(), "status");
        QVERIFY2(process.readAll().contains(said), said.constData());
    }

    void endsWithStatusZeroWhenTold_data() {
        rows<int>("number", {{"SIGTERM", SIGTERM}, {"SIGINT", SIGINT}, {"SIGHUP", SIGHUP}});
    }
    void endsWithStatusZeroWhenTold() {
        QFETCH(const int, number);
        const auto process = start();
        QVERIFY(waitUntil([this] { return isUp(); }, std::chrono::seconds(30)));
        QVERIFY(endsWithZero(*process, number));
    }

    void secondStartHandsOver() {
        const auto first = start();
        QVERIFY(waitUntil([this] { return isUp(); }, std::chrono::seconds(30)));
        const auto second = start();
        QVERIFY(second->waitForFinished(20'000));
        QCOMPARE(second->exitCode(), 0);
        QCOMPARE(first->state(), QProcess::Running);
        QVERIFY(endsWithZero(*first));
    }

    void loadsTheWebEngine() {
        const auto process = start();
        QVERIFY(waitUntil([&] { return helpersOf(process->processId()).contains(u"QtWebEngineProcess"_qs); },
                          std::chrono::seconds(60)));
        QVERIFY(endsWithZero(*process));
        const QByteArray said = process->readAll();
        QVERIFY2(!said.contains("from a plugin") && !said.contains("cannot be loaded"), said.constData());
    }

    void goesOnWithoutItsModules() {
        const QString alone = home_->filePath(u"teskal"_qs);
        QVERIFY(QFile::copy(QStringLiteral(TESKAL_PROGRAM), alone));
        const auto process = start(alone);
        QByteArray said;
        QVERIFY2(waitUntil([&] { return (said += process->readAll()).contains("teskal-web.so"); },
                           std::chrono::seconds(60)),
                 said.constData());
        QCOMPARE(process->state(), QProcess::Running);
        QVERIFY(endsWithZero(*process));
    }

private:
    static bool endsWithZero(QProcess& process, int signal = SIGTERM) {
        return ::kill(pid_t(process.processId()), signal) == 0 && process.waitForFinished(20'000) &&
               process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
    }

    /// With the folders of a user of its own, that of this test.
    std::unique_ptr<QProcess> start(const QString& program = QStringLiteral(TESKAL_PROGRAM)) const {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        QDir(home_->path()).mkpath(u"runtime"_qs);
        QFile::setPermissions(home_->filePath(u"runtime"_qs),
                              QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        environment.insert(u"XDG_RUNTIME_DIR"_qs, home_->filePath(u"runtime"_qs));
        for (const char* kind : {"data", "config", "cache"})
            environment.insert(u"XDG_%1_HOME"_qs.arg(QString::fromLatin1(kind).toUpper()),
                               home_->filePath(QString::fromLatin1(kind)));
        auto process = std::make_unique<QProcess>();
        process->setProcessEnvironment(environment);
        process->setProcessChannelMode(QProcess::MergedChannels);
        process->start(program, {u"--service"_qs, service_.origin().toString()});
        return process;
    }
    /// Whether a process listens for second starts; signals are taken from then on, or end it as they always
    /// do.
    bool isUp() const {
        const QDir runtime(home_->filePath(u"runtime"_qs));
        return !runtime.entryList(QDir::Files | QDir::System | QDir::NoDotAndDotDot).isEmpty();
    }

    const LocalService service_;
    std::unique_ptr<QTemporaryDir> home_;
};

QTEST_GUILESS_MAIN(TestProcessJourney)
#include "TestProcessJourney.moc"
