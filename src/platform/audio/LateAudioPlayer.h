#pragma once

#include "AudioPlayer.h"

#include <memory>

namespace teskal {

/// A player out of the module for sound, which is loaded when something is first played.
class LateAudioPlayer final : public AudioPlayer {
    Q_OBJECT

public:
    using AudioPlayer::AudioPlayer;

    void play(const QByteArray& audio) override;
    void stop() override;

private:
    std::unique_ptr<AudioPlayer> player_;
};

} // namespace teskal
