#include "LocalService.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QRegularExpression>

#include <chrono>

namespace teskal::test {

namespace {

using namespace std::chrono_literals;

QString executable() {
#ifdef TESKAL_LOCAL_SERVICE
    return QStringLiteral(TESKAL_LOCAL_SERVICE);
#else
    qFatal("this build has no local service");
#endif
}

/// The address in the line that the service prints once it listens.
QUrl addressIn(const QByteArray& output) {
    static const QRegularExpression form(u"listening on (http://127\\.0\\.0\\.1:[0-9]+)"_qs);
    const auto match = form.match(QString::fromUtf8(output));
    return match.hasMatch() ? QUrl(match.captured(1)) : QUrl();
}

} // namespace

LocalService::LocalService(const QStringList& arguments) {
    process_.setProcessChannelMode(QProcess::MergedChannels);
    // Ends with the test, even with one that crashes.
    const QString parent = QString::number(QCoreApplication::applicationPid());
    const QStringList always{u"--port"_qs,       u"0"_qs, u"--auto-consent"_qs,   u"--control"_qs,
                             u"--parent-pid"_qs, parent,  u"--chunk-delay-ms"_qs, u"0"_qs};
    process_.start(executable(), always + arguments);
    QByteArray output;
    const QDeadlineTimer deadline(10s);
    while (!origin_.isValid() || origin_.isEmpty()) {
        const bool more = process_.waitForReadyRead(static_cast<int>(deadline.remainingTime()));
        output += process_.readAll();
        origin_ = addressIn(output.left(output.lastIndexOf('\n') + 1));
        if (!more && origin_.isEmpty())
            qFatal("the local service does not listen: %s", output.constData());
    }
}

LocalService::~LocalService() {
    process_.terminate();
    if (!process_.waitForFinished(5000)) {
        process_.kill();
        process_.waitForFinished(5000);
    }
}

QUrl LocalService::url(const QString& path) const {
    return origin_.resolved(QUrl(path));
}

} // namespace teskal::test
