#include "MediaAudioPlayer.h"

#include "Post.h"

#include <QAudioDevice>
#include <QAudioOutput>
#include <QBuffer>
#include <QMediaDevices>
#include <QMediaPlayer>

namespace teskal {

struct MediaAudioPlayer::Playback {
    QBuffer source;
    QAudioOutput output;
    QMediaPlayer player; // before the source that it reads
    bool began = false;
};

MediaAudioPlayer::MediaAudioPlayer(QObject* parent) : AudioPlayer(parent) {}

MediaAudioPlayer::~MediaAudioPlayer() = default;

void MediaAudioPlayer::play(const QByteArray& audio) {
    stop();
    if (audio.isEmpty() || QMediaDevices::defaultAudioOutput().isNull()) {
        Q_EMIT failed();
        return;
    }
    playback_ = std::make_unique<Playback>();
    QMediaPlayer& player = playback_->player;
    connect(&player, &QMediaPlayer::errorOccurred, this, &MediaAudioPlayer::broken);
    connect(&player, &QMediaPlayer::positionChanged, this,
            [this](qint64 ms) { playback_->began = playback_->began || ms > 0; });
    connect(&player, &QMediaPlayer::mediaStatusChanged, this, [this](QMediaPlayer::MediaStatus status) {
        if (status == QMediaPlayer::InvalidMedia)
            broken();
        else if (status == QMediaPlayer::EndOfMedia)
            ended();
    });
    playback_->source.setData(audio);
    playback_->source.open(QIODevice::ReadOnly);
    player.setAudioOutput(&playback_->output);
    player.setSourceDevice(&playback_->source);
    if (playback_)
        playback_->player.play();
}

void MediaAudioPlayer::stop() {
    if (!playback_)
        return;
    playback_->player.disconnect(this);
    // It may be the one that is calling.
    post([old = std::shared_ptr<Playback>(std::move(playback_))] { old->player.stop(); });
}

void MediaAudioPlayer::broken() {
    const bool began = playback_->began;
    stop();
    if (began)
        Q_EMIT finished();
    else
        Q_EMIT failed();
}

void MediaAudioPlayer::ended() {
    stop();
    Q_EMIT finished();
}

} // namespace teskal
