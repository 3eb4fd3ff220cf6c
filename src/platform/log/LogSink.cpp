#include "LogSink.h"

#include <QLoggingCategory>
#include <QMessageLogger>

#include <cstdio>
#include <cstdlib>
#include <syslog.h>

namespace teskal {

namespace {

int syslogLevel(QtMsgType type) {
    switch (type) {
    case QtDebugMsg:
        return LOG_DEBUG;
    case QtInfoMsg:
        return LOG_INFO;
    case QtWarningMsg:
        return LOG_WARNING;
    case QtCriticalMsg:
        return LOG_ERR;
    case QtFatalMsg:
        return LOG_CRIT;
    }
    return LOG_NOTICE;
}

void write(QtMsgType type, const QMessageLogContext&, const QString& text) {
    const QByteArray line = text.toUtf8();
    std::fprintf(stderr, "%s\n", line.constData());
    syslog(syslogLevel(type), "%s", line.constData());
    if (type == QtFatalMsg)
        std::abort();
}

} // namespace

void installLogSink() {
    // The page's console and the engine's notes may quote addresses; nobody needs them outside a debugger.
    QLoggingCategory::setFilterRules(QStringLiteral("js.*=false\nqt.webenginecontext*=false"));
    openlog("teskal", LOG_PID, LOG_USER);
    qInstallMessageHandler(write);
}

} // namespace teskal
