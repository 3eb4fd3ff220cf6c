#include "MediaAudioPlayer.h"

#include "Post.h"
#include "SoundDecoder.h"

#include <QAudioDevice>
#include <QAudioSink>
#include <QIODevice>
#include <QMediaDevices>
#include <QTimer>

#include <algorithm>

namespace teskal {

namespace {

/// A device asks for more several times a second; it may take a while to wake.
constexpr std::chrono::milliseconds longestStandstill{5000};

/// Silence after the sound: the device calls it the end while some of it is still to be heard.
constexpr qint64 tailUs = 300'000;

QAudioFormat wantedFormat(const QAudioDevice& device, const QAudioFormat& sound) {
    return device.isFormatSupported(sound) ? sound : device.preferredFormat();
}

/// The samples of a sound, as the device asks for them.
class SoundStream final : public QIODevice {
public:
    SoundStream(SoundDecoder& decoder, const QAudioFormat& format) : decoder_(decoder), format_(format) {
        fill();
        open(ReadOnly | Unbuffered);
    }

    bool isSequential() const override { return true; }
    bool atEnd() const override { return piece_.isEmpty(); }
    qint64 bytesAvailable() const override { return piece_.size(); }
    /// How often it was asked for more, to tell a device that has stopped.
    qint64 timesAsked() const { return asked_; }

protected:
    qint64 readData(char* data, qint64 most) override {
        ++asked_;
        qint64 given = 0;
        while (given < most && !piece_.isEmpty()) {
            const qint64 count = std::min<qint64>(most - given, piece_.size());
            std::copy_n(piece_.constData(), count, data + given);
            piece_.remove(0, count);
            given += count;
            fill();
        }
        return given;
    }
    qint64 writeData(const char* /*data*/, qint64 /*size*/) override { return -1; }

private:
    void fill() {
        if (!piece_.isEmpty() || isOver_)
            return;
        piece_ = decoder_.next(format_);
        isOver_ = piece_.isEmpty();
        if (isOver_ && hasSound_)
            piece_ = QByteArray(format_.bytesForDuration(tailUs), '\0');
        hasSound_ = true;
    }

    SoundDecoder& decoder_;
    QAudioFormat format_;
    QByteArray piece_; ///< empty only at the end
    bool hasSound_ = false;
    bool isOver_ = false; ///< nothing but silence follows
    qint64 asked_ = 0;
};

} // namespace

struct MediaAudioPlayer::Playback {
    Playback(const QByteArray& audio, const QAudioDevice& device)
        : decoder(audio), stream(decoder, wantedFormat(device, decoder.format())),
          sink(device, wantedFormat(device, decoder.format())) {}

    SoundDecoder decoder;
    SoundStream stream;
    QAudioSink sink; // before the stream that it reads
    QTimer watch;    // a device that hangs says nothing
    qint64 askedBefore = 0;
};

MediaAudioPlayer::MediaAudioPlayer(QObject* parent) : AudioPlayer(parent) {}

MediaAudioPlayer::~MediaAudioPlayer() = default;

void MediaAudioPlayer::play(const QByteArray& audio) {
    stop();
    const QAudioDevice device = QMediaDevices::defaultAudioOutput();
    auto playback = device.isNull() ? nullptr : std::make_unique<Playback>(audio, device);
    if (!playback || playback->stream.atEnd()) {
        Q_EMIT failed();
        return;
    }
    playback_ = std::move(playback);
    connect(&playback_->sink, &QAudioSink::stateChanged, this, &MediaAudioPlayer::follow);
    connect(&playback_->watch, &QTimer::timeout, this, &MediaAudioPlayer::lookAfter);
    playback_->watch.start(longestStandstill);
    playback_->sink.start(&playback_->stream);
    if (playback_ && playback_->sink.error() == QAudio::OpenError)
        broken();
}

void MediaAudioPlayer::stop() {
    if (!playback_)
        return;
    playback_->sink.disconnect(this);
    playback_->watch.stop();
    // It may be the one that is calling.
    post([old = std::shared_ptr<Playback>(std::move(playback_))] { old->sink.stop(); });
}

void MediaAudioPlayer::follow() {
    const QAudio::State state = playback_->sink.state();
    if (state == QAudio::IdleState && playback_->stream.atEnd())
        ended();
    else if (state == QAudio::StoppedState)
        broken();
}

void MediaAudioPlayer::lookAfter() {
    if (std::exchange(playback_->askedBefore, playback_->stream.timesAsked()) ==
        playback_->stream.timesAsked())
        broken();
}

void MediaAudioPlayer::broken() {
    const bool began = playback_->stream.timesAsked() > 0;
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
