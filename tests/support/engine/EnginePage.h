#pragma once

#include "TranscriptPage.h"
#include "TranscriptView.h"
#include "WebPagePort.h"

#include <QJsonObject>
#include <QVariant>
#include <QWidget>

#include <chrono>
#include <memory>

namespace teskal::test {

/// The transcript page in the real engine, in a window of its own, with no application behind it: what the
/// page posts is written down.
class EnginePage {
public:
    static constexpr std::chrono::seconds patience{30};

    /// \a files, which may be null, is where the page's stored files come from.
    explicit EnginePage(QSize size = {800, 600}, FileSource* files = nullptr);

    /// Loads the page and waits for its "ready".
    [[nodiscard]] bool open();

    WebPagePort& port() { return port_; }
    TranscriptPage& page() { return port_.page(); }
    QWidget& window() { return window_; }
    TranscriptView& view() { return *view_; }
    /// The widget inside the view that takes keys and the mouse.
    QWidget& input() const;

    /// The value of a script's last expression; invalid when it throws or the page is gone.
    QVariant evaluate(const QString& script);
    bool holds(const QString& condition) { return evaluate(condition).toBool(); }
    double number(const QString& expression) { return evaluate(expression).toDouble(); }
    QString text(const QString& expression) { return evaluate(expression).toString(); }
    /// Whether \a condition, an expression, comes to be true.
    [[nodiscard]] bool waitFor(const QString& condition);

    /// What the page posted since the last time.
    QList<QJsonObject> takeMessages() { return std::exchange(messages_, {}); }
    const QList<QJsonObject>& messages() const { return messages_; }

private:
    // The port's page must outlive the view in the window.
    WebPagePort port_;
    QWidget window_;
    TranscriptView* view_;
    QList<QJsonObject> messages_;
};

/// How many messages of the chat that is shown are in the page, as an expression: those of the chat before
/// leave it bit by bit.
inline const QString shownMessages =
    QStringLiteral("document.querySelectorAll('.messages:not([hidden]) article').length");

/// Prepares the engine. Call it before the application object is made.
void prepareEngine();

/// A test with the engine in it, which QTEST_MAIN runs.
class EngineTest : public QObject {
public:
    static void initMain() { prepareEngine(); }
};

} // namespace teskal::test
