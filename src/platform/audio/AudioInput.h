#pragma once

#include <QCoroTask>
#include <QList>
#include <QObject>

#include <stop_token>

namespace teskal {

/// Listens to the user's microphone. Main thread only.
class AudioInput : public QObject {
    Q_OBJECT

public:
    /// Samples of the one channel, a second.
    static constexpr int sampleRate = 44'100;

    using QObject::QObject;

    /// Whether the application may listen; where the platform has the user decide, this waits for the answer.
    /// Throws Cancelled when \a stop is set.
    virtual QCoro::Task<bool> askAccess(std::stop_token stop) = 0;
    /// Begins to listen. False when there is no device, or none that can be opened; no signal follows then.
    virtual bool start() = 0;
    /// No signal follows.
    virtual void stop() = 0;

Q_SIGNALS:
    /// What was heard since the last time, from -1 to 1.
    void heard(const QList<float>& samples);
    /// The device is gone; nothing follows.
    void lost();
};

} // namespace teskal
