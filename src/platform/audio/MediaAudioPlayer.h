#pragma once

#include "AudioPlayer.h"

#include <memory>

namespace teskal {

/// Plays with Qt Multimedia, whose parts are made when something is played and go afterwards.
class MediaAudioPlayer final : public AudioPlayer {
    Q_OBJECT

public:
    explicit MediaAudioPlayer(QObject* parent = nullptr);
    ~MediaAudioPlayer() override;

    void play(const QByteArray& audio) override;
    void stop() override;

private:
    struct Playback;

    void broken();
    void ended();

    std::unique_ptr<Playback> playback_;
};

} // namespace teskal
