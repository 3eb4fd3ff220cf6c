#pragma once

#include <QJsonValue>
#include <QString>

#include <chrono>
#include <functional>
#include <vector>

class QWebEnginePage;

namespace teskal::bench {

/// Runs the event loop until \a holds. Throws std::runtime_error that \a what did not happen within minutes.
void waitFor(const char* what, const std::function<bool()>& holds);
/// Runs the event loop for a while, as an application does that has nothing to do.
void idle(std::chrono::milliseconds time);

/// The value of a script's last expression.
QVariant evaluate(QWebEnginePage& page, const QString& script);

/// Puts one of the benchmark's scripts into the page: "driver", "naive" or "taskTrace".
void addBenchScript(QWebEnginePage& page, const QString& name);
/// Runs \a expression in a page that has the driver, waits for its promise and returns what that gives.
/// Throws std::runtime_error with the page's error.
QJsonValue runTask(QWebEnginePage& page, const QString& expression);
/// \a list as the page gave it. Throws std::runtime_error when it holds nothing.
std::vector<double> numbers(const QJsonValue& list);
/// Milliseconds from now until what \a change has the page do has been painted.
double timeToPaint(QWebEnginePage& page, const std::function<void()>& change);

/// \a text as a JavaScript literal.
QString literal(const QString& text);

} // namespace teskal::bench
