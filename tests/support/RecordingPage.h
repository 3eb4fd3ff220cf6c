#pragma once

#include "PagePort.h"

#include <QStringList>

namespace teskal::test {

/// A transcript page that only writes down what it is told, one line per call: "upsert({…})".
class RecordingPage final : public PagePort {
public:
    void call(const QByteArray& function, const QList<QByteArray>& arguments) override {
        calls_.append(QString::fromUtf8(function + '(' + arguments.join(", ") + ')'));
    }
    void reload() override { ++reloads_; }

    /// What was called since the last time.
    QStringList takeCalls() { return std::exchange(calls_, {}); }
    int reloads() const { return reloads_; }

    void send(const QJsonObject& message) { Q_EMIT messageReceived(message); }
    void sendReady() { send({{u"type"_qs, u"ready"_qs}}); }
    void endProcess() { Q_EMIT processEnded(); }

private:
    QStringList calls_;
    int reloads_ = 0;
};

} // namespace teskal::test
