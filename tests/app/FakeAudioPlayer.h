#pragma once

#include "AudioPlayer.h"

#include <QList>

namespace teskal::test {

/// A player that makes no sound and ends when the test says so.
class FakeAudioPlayer final : public AudioPlayer {
public:
    void play(const QByteArray& audio) override {
        played.append(audio);
        isPlaying = !failsAtOnce;
        if (failsAtOnce)
            Q_EMIT failed();
    }
    void stop() override { isPlaying = false; }

    void end() { Q_EMIT finished(); }
    void fail() { Q_EMIT failed(); }

    QList<QByteArray> played;
    bool isPlaying = false;
    bool failsAtOnce = false;
};

} // namespace teskal::test
