#include "WaitUntil.h"

#include <QProcess>
#include <QTcpSocket>
#include <QTest>

#include <csignal>

using namespace teskal::test;

namespace {

/// Starts the program and gives the port that it says it listens on.
quint16 begin(QProcess& program, const QStringList& arguments) {
    program.start(QStringLiteral(TESKAL_SERVICE_PROGRAM), arguments);
    while (!program.canReadLine() && program.waitForReadyRead()) {
    }
    const QByteArray line = program.readLine();
    const QByteArray expected = "listening on http://127.0.0.1:";
    return line.startsWith(expected) ? line.mid(expected.size()).trimmed().toUShort() : 0;
}

/// Sends a request for \a target.
bool ask(QTcpSocket& socket, quint16 port, const QByteArray& target) {
    socket.connectToHost(QHostAddress::LocalHost, port);
    return socket.waitForConnected() && socket.write("GET " + target + " HTTP/1.1\r\n\r\n") > 0 &&
           socket.waitForBytesWritten();
}

/// Whether the program ends within \a deadline by itself, with that status.
bool endsWith(int status, QProcess& program, int deadline = 30'000) {
    return program.waitForFinished(deadline) && program.exitStatus() == QProcess::NormalExit &&
           program.exitCode() == status;
}

} // namespace

/// The local service as a program.
class TestServiceProcess final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void saysWhereItListensAndEndsOnASignal() {
        for (const int signal : {SIGTERM, SIGINT}) {
            QProcess program;
            const quint16 port = begin(program, {u"--control"_qs});
            QTcpSocket waiting; // a long wait that must not hold up the end
            QVERIFY(ask(waiting, port, "/control/wait?path=/never&timeoutMs=60000"));
            QTcpSocket reading;
            QVERIFY(ask(reading, port, "/status") && reading.waitForReadyRead());
            QVERIFY(reading.readAll().startsWith("HTTP/1.1 200"));
            ::kill(pid_t(program.processId()), signal);
            QVERIFY(endsWith(0, program, 2'000));
        }
    }

    void takenPortAndUnknownOptionAreClearErrors() {
        QProcess first;
        const QString port = QString::number(begin(first, {u"--port"_qs, u"0"_qs}));
        QProcess second;
        second.start(QStringLiteral(TESKAL_SERVICE_PROGRAM), {u"--port"_qs, port});
        QVERIFY(endsWith(2, second));
        QCOMPARE(QString::fromUtf8(second.readAllStandardError()),
                 u"teskal-local-service: port %1 on 127.0.0.1 is taken\n"_qs.arg(port));
        QProcess wrong;
        wrong.start(QStringLiteral(TESKAL_SERVICE_PROGRAM), {u"--nonsense"_qs});
        QVERIFY(endsWith(2, wrong));
        QVERIFY(wrong.readAllStandardError().contains("--nonsense"));
        first.terminate();
        QVERIFY(endsWith(0, first));
    }

    void endsWithTheProcessItBelongsTo() {
        QProcess owner;
        QProcess program;
        QVERIFY(begin(owner, {}) > 0);
        QVERIFY(begin(program, {u"--parent-pid"_qs, QString::number(owner.processId())}) > 0);
        owner.terminate();
        QVERIFY(endsWith(0, owner) && endsWith(0, program));
    }
};

QTEST_GUILESS_MAIN(TestServiceProcess)
#include "TestServiceProcess.moc"
