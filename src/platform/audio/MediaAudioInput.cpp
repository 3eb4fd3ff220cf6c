#include "MediaAudioInput.h"

#include "MicrophoneAccess.h"
#include "Post.h"
#include "SampleConverter.h"

#include <QAudioDevice>
#include <QAudioSource>
#include <QIODevice>
#include <QMediaDevices>
#include <QPointer>
#include <QTimer>

namespace teskal {

namespace {

/// A microphone that is there is heard from several times a second, in silence, too.
constexpr std::chrono::milliseconds longestSilence{3000};

QAudioFormat wantedFormat(const QAudioDevice& device) {
    QAudioFormat format;
    format.setSampleRate(AudioInput::sampleRate);
    format.setChannelCount(1);
    format.setSampleFormat(QAudioFormat::Float);
    return device.isFormatSupported(format) ? format : device.preferredFormat();
}

} // namespace

struct MediaAudioInput::Capture {
    explicit Capture(const QAudioDevice& microphone)
        : device(microphone), source(device, wantedFormat(device)), converter(source.format()) {}

    QAudioDevice device;
    QAudioSource source;
    SampleConverter converter;
    QMediaDevices devices;
    QTimer watch;
    QPointer<QIODevice> bytes; ///< the source's, which drops it when it loses the device
};

MediaAudioInput::MediaAudioInput(QObject* parent) : AudioInput(parent) {}

MediaAudioInput::~MediaAudioInput() = default;

QCoro::Task<bool> MediaAudioInput::askAccess(std::stop_token stop) {
    return microphoneAccess(std::move(stop));
}

bool MediaAudioInput::start() {
    stop();
    const QAudioDevice microphone = QMediaDevices::defaultAudioInput();
    if (microphone.isNull())
        return false;
    auto capture = std::make_unique<Capture>(microphone);
    if (!capture->converter.isValid())
        return false;
    capture->bytes = capture->source.start();
    if (!capture->bytes || capture->source.error() != QAudio::NoError)
        return false;
    capture_ = std::move(capture);
    connect(capture_->bytes, &QIODevice::readyRead, this, &MediaAudioInput::read);
    connect(&capture_->source, &QAudioSource::stateChanged, this, [this](QAudio::State state) {
        if (state == QAudio::StoppedState)
            lose();
    });
    connect(&capture_->devices, &QMediaDevices::audioInputsChanged, this, [this] {
        if (!QMediaDevices::audioInputs().contains(capture_->device))
            lose();
    });
    connect(&capture_->watch, &QTimer::timeout, this, &MediaAudioInput::lose);
    capture_->watch.start(longestSilence);
    return true;
}

void MediaAudioInput::stop() {
    if (!capture_)
        return;
    if (capture_->bytes)
        capture_->bytes->disconnect(this);
    capture_->source.disconnect(this);
    capture_->devices.disconnect(this);
    capture_->watch.stop();
    // It may be the one that is calling.
    post([old = std::shared_ptr<Capture>(std::move(capture_))] { old->source.stop(); });
}

void MediaAudioInput::read() {
    const QList<float> samples = capture_->converter.convert(capture_->bytes->readAll());
    if (samples.isEmpty())
        return;
    capture_->watch.start(longestSilence);
    Q_EMIT heard(samples);
}

void MediaAudioInput::lose() {
    stop();
    Q_EMIT lost();
}

} // namespace teskal
