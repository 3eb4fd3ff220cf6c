#pragma once

#include "AudioPlayer.h"

#include <memory>

namespace teskal {

/// Plays with Qt Multimedia's output, whose parts are made when something is played and go afterwards. Its
/// player would do with less, but in Qt 6.4 it ends the process when the sound server dies.
class MediaAudioPlayer final : public AudioPlayer {
    Q_OBJECT

public:
    explicit MediaAudioPlayer(QObject* parent = nullptr);
    ~MediaAudioPlayer() override;

    void play(const QByteArray& audio) override;
    void stop() override;

private:
    struct Playback;

    void follow();
    void lookAfter();
    void broken();
    void ended();

    std::unique_ptr<Playback> playback_;
};

} // namespace teskal
