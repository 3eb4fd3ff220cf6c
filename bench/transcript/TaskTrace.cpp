#include "TaskTrace.h"

#include "PageTask.h"

#include <QHostAddress>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QTcpServer>
#include <QUrl>
#include <QWebEnginePage>

#include <memory>
#include <stdexcept>

namespace teskal::bench {

namespace {

constexpr char variable[] = "QTWEBENGINE_REMOTE_DEBUGGING";

QJsonArray debuggedPages() {
    QNetworkAccessManager network;
    const QUrl list(QStringLiteral("http://%1/json/list").arg(qEnvironmentVariable(variable)));
    const std::unique_ptr<QNetworkReply> reply(network.get(QNetworkRequest(list)));
    waitFor("an answer of the debugger", [&] { return reply->isFinished(); });
    return QJsonDocument::fromJson(reply->readAll()).array();
}

QString debuggerOf(const QUrl& address) {
    for (const QJsonValue page : debuggedPages()) {
        // The bench's own view has the same address, but its own title.
        if (page[QLatin1String("url")].toString() == address.toString() &&
            page[QLatin1String("title")].toString() != QLatin1String("tracer"))
            return page[QLatin1String("webSocketDebuggerUrl")].toString();
    }
    throw std::runtime_error("the debugger does not know the page");
}

} // namespace

void openDebuggingPort() {
    QTcpServer server;
    server.listen(QHostAddress::LocalHost);
    qputenv(variable, "127.0.0.1:" + QByteArray::number(server.serverPort()));
}

TaskTrace::TaskTrace(const QUrl& address) {
    view_.open();
    addBenchScript(view_.page(), QStringLiteral("driver"));
    addBenchScript(view_.page(), QStringLiteral("taskTrace"));
    evaluate(view_.page(), QStringLiteral("document.title = 'tracer'"));
    waitFor("a title", [this] { return view_.page().title() == QLatin1String("tracer"); });
    runTask(view_.page(), QStringLiteral("taskTrace.start(%1)").arg(literal(debuggerOf(address))));
}

TaskTrace::Record TaskTrace::stop(qint64 process) {
    const QJsonValue record = runTask(view_.page(), QStringLiteral("taskTrace.stop(%1)").arg(process));
    const QJsonArray tasks = record[QLatin1String("tasks")].toArray();
    if (tasks.isEmpty())
        throw std::runtime_error("the trace holds no task");
    Record result;
    result.painted = record[QLatin1String("marks")][QLatin1String("bench-painted")].toDouble() / 1e3;
    for (const QJsonValue task : tasks)
        result.tasks.push_back({task[QLatin1String("begin")].toDouble() / 1e3,
                                task[QLatin1String("wall")].toDouble() / 1e3,
                                task[QLatin1String("cpu")].toDouble() / 1e3});
    return result;
}

} // namespace teskal::bench
