#pragma once

#include "EnginePage.h"

#include <QJsonValue>
#include <QStringList>
#include <QWebEngineUrlRequestInterceptor>

namespace teskal::test {

/// Writes down every request that is not for the page's own files or a stored file, and lets none of these
/// out.
class RequestWatch final : public QWebEngineUrlRequestInterceptor {
    Q_OBJECT

public:
    using QWebEngineUrlRequestInterceptor::QWebEngineUrlRequestInterceptor;

    void interceptRequest(QWebEngineUrlRequestInfo& info) override;
    QStringList take() { return std::exchange(unexpected_, {}); }

private:
    QStringList unexpected_;
};

/// The transcript page in the real engine, with everything watched that hostile content must not bring about:
/// scripts, requests, navigation, windows, dialogs, messages to the host, forged elements, and freezes.
class WatchedPage {
public:
    /// ms of the page's main thread that one update may take at a stretch.
    void setLongestFreeze(double ms) { longestFreeze_ = ms; }

    WatchedPage();

    /// Loads the page and has it draw a formula and coloured code, so that what is loaded once is loaded.
    [[nodiscard]] bool open();

    /// Calls a function of the page and waits until its effects have been painted. False when they never are.
    [[nodiscard]] bool call(const QByteArray& function, const QList<QJsonValue>& arguments);
    /// The same for any script.
    [[nodiscard]] bool run(const QString& script);
    /// Clicks every link. Links may be handed to the host, and nothing else may happen.
    [[nodiscard]] bool pressLinks();
    /// The value of a script's last expression.
    QVariant evaluate(const QString& script) { return engine_.evaluate(script); }
    bool holds(const QString& condition) { return engine_.holds(condition); }
    double number(const QString& expression) { return engine_.number(expression); }
    QString text(const QString& expression) { return engine_.text(expression); }

    /// Everything unwanted since the last time. Requests of link previews are not unwanted.
    QStringList takeOffences();
    /// Identifiers of the link previews asked for since the last time.
    QList<int> takePreviews() { return std::exchange(previews_, {}); }

    QWebEngineProfile* profile() { return engine_.page().profile(); }

private:
    [[nodiscard]] bool settle(double cpuBefore);
    void noteFreeze(double cpuBefore);
    void noteMessage(const QJsonObject& message);
    /// Milliseconds of processor time that the main thread of the page's process has used.
    double mainThreadTime();

    EnginePage engine_;
    RequestWatch* requests_;
    QStringList offences_;
    QList<int> previews_;
    int turn_ = 0;
    int settledTurn_ = 0;
    double longestTask_ = 0;
    double longestFreeze_ = 200;
    bool linksMayOpen_ = false;
    bool gone_ = false;
};

} // namespace teskal::test
