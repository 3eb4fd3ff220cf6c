#include "LateAudioPlayer.h"

#include "AudioParts.h"
#include "Module.h"

namespace teskal {

void LateAudioPlayer::play(const QByteArray& audio) {
    if (!player_) {
        auto* const parts = static_cast<AudioParts*>(moduleParts("audio"));
        if (!parts) {
            Q_EMIT failed();
            return;
        }
        player_ = parts->makePlayer();
        connect(player_.get(), &AudioPlayer::failed, this, &AudioPlayer::failed);
        connect(player_.get(), &AudioPlayer::finished, this, &AudioPlayer::finished);
    }
    player_->play(audio);
}

void LateAudioPlayer::stop() {
    if (player_)
        player_->stop();
}

} // namespace teskal
