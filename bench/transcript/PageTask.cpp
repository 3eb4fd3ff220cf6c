#include "PageTask.h"

#include "JsonWriter.h"
#include "WaitUntil.h"

#include <QDeadlineTimer>
#include <QEventLoop>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTimer>
#include <QWebEnginePage>

#include <optional>
#include <stdexcept>

using namespace std::chrono_literals;

namespace teskal::bench {

namespace {

/// Starts a task in the page. Its title will be what this returns when the task is done.
QString start(QWebEnginePage& page, const QString& expression) {
    static int tasks = 0;
    const QString name = QStringLiteral("bench %1").arg(++tasks);
    page.runJavaScript(QStringLiteral("void bench.run('%1', () => %2)").arg(name, expression));
    return name;
}

void waitForTitle(QWebEnginePage& page, const QString& name) {
    waitFor("a task in the page", [&] { return page.title() == name; });
}

QJsonValue resultOf(QWebEnginePage& page) {
    const QString json = evaluate(page, QStringLiteral("JSON.stringify(bench.result)")).toString();
    const QJsonObject result = QJsonDocument::fromJson(json.toUtf8()).object();
    if (result.contains(QLatin1String("error")))
        throw std::runtime_error("in the page: " + result[QLatin1String("error")].toString().toStdString());
    return result[QLatin1String("value")];
}

} // namespace

void waitFor(const char* what, const std::function<bool()>& holds) {
    if (!test::waitUntil(holds, 5min))
        throw std::runtime_error(std::string("did not happen: ") + what);
}

void idle(std::chrono::milliseconds time) {
    QEventLoop loop;
    QTimer::singleShot(time, &loop, &QEventLoop::quit);
    loop.exec();
}

QVariant evaluate(QWebEnginePage& page, const QString& script) {
    std::optional<QVariant> result;
    page.runJavaScript(script, [&result](const QVariant& value) { result = value; });
    waitFor("an answer of the page", [&result] { return result.has_value(); });
    return *result;
}

void addBenchScript(QWebEnginePage& page, const QString& name) {
    QFile file(QStringLiteral(TESKAL_BENCH_SCRIPTS "/%1.js").arg(name));
    if (!file.open(QIODevice::ReadOnly))
        throw std::runtime_error("could not read " + file.fileName().toStdString());
    evaluate(page, QString::fromUtf8(file.readAll()) + QStringLiteral(";0"));
}

QJsonValue runTask(QWebEnginePage& page, const QString& expression) {
    waitForTitle(page, start(page, expression));
    return resultOf(page);
}

std::vector<double> numbers(const QJsonValue& list) {
    std::vector<double> numbers;
    for (const QJsonValue number : list.toArray())
        numbers.push_back(number.toDouble());
    if (numbers.empty())
        throw std::runtime_error("the page measured nothing");
    return numbers;
}

double timeToPaint(QWebEnginePage& page, const std::function<void()>& change) {
    const auto begin = std::chrono::steady_clock::now();
    change();
    const QString name = start(page, QStringLiteral("bench.painted()"));
    waitForTitle(page, name);
    const auto end = std::chrono::steady_clock::now();
    resultOf(page);
    return std::chrono::duration<double, std::milli>(end - begin).count();
}

QString literal(const QString& text) {
    JsonWriter writer;
    writer.string(text);
    return QString::fromUtf8(writer.take());
}

} // namespace teskal::bench
