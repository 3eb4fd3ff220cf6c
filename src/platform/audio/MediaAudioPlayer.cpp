#include "MediaAudioPlayer.h"

#include "Post.h"

#include <QAudioDevice>
#include <QAudioOutput>
#include <QAudioSink>
#include <QBuffer>
#include <QMediaDevices>
#include <QMediaPlayer>
#include <QTimer>

namespace teskal {

namespace {

/// Longer than the system takes to begin; the sound itself moves on several times a second.
constexpr std::chrono::milliseconds longestStandstill{5000};

/// Qt's player crashes on a device that is listed but cannot be opened, as when the sound server has died.
bool canPlay(const QAudioDevice& device) {
    if (device.isNull())
        return false;
    QAudioSink trial(device, device.preferredFormat());
    return trial.start() && trial.error() == QAudio::NoError;
}

} // namespace

struct MediaAudioPlayer::Playback {
    QBuffer source;
    QAudioOutput output;
    QTimer watch;        // a device that is lost stops the player without a word
    QMediaPlayer player; // before the source that it reads
    bool began = false;
};

MediaAudioPlayer::MediaAudioPlayer(QObject* parent) : AudioPlayer(parent) {}

MediaAudioPlayer::~MediaAudioPlayer() = default;

void MediaAudioPlayer::play(const QByteArray& audio) {
    stop();
    if (audio.isEmpty() || !canPlay(QMediaDevices::defaultAudioOutput())) {
        Q_EMIT failed();
        return;
    }
    playback_ = std::make_unique<Playback>();
    QMediaPlayer& player = playback_->player;
    connect(&player, &QMediaPlayer::errorOccurred, this, &MediaAudioPlayer::broken);
    connect(&player, &QMediaPlayer::positionChanged, this, [this](qint64 ms) {
        playback_->began = playback_->began || ms > 0;
        playback_->watch.start(longestStandstill);
    });
    connect(&playback_->watch, &QTimer::timeout, this, &MediaAudioPlayer::broken);
    playback_->watch.start(longestStandstill);
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
    playback_->watch.stop();
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
