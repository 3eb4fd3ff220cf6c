#include "VoiceRecorder.h"

#include "AacFile.h"
#include "AtomicFile.h"
#include "AudioInput.h"
#include "Cancelled.h"
#include "Loudness.h"
#include "RunOn.h"
#include "VoiceFailure.h"

#include <QFile>
#include <QFileInfo>

#include <unistd.h>

namespace teskal {

namespace {

constexpr std::chrono::milliseconds tickTime{100};
constexpr qint64 longestMs = 300'000;
/// A recording of this length or less is an accidental click.
constexpr qint64 slipMs = 300;

void makeFolder(const QString& path) {
    makePrivateFolder(path);
    // The directory for temporary files is everybody's: somebody else may have been there first.
    const QFileInfo folder(path);
    if (!folder.isDir() || folder.isSymLink() || folder.ownerId() != geteuid() ||
        !QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner))
        throw FileError(QStringLiteral("the folder is not private"));
}

QByteArray contentOf(const QString& path) {
    QFile file(path);
    if (!file.open(QFile::ReadOnly))
        throw FileError(file.errorString());
    return file.readAll();
}

} // namespace

/// The file that is being written; only the worker touches it once it is made.
struct VoiceRecorder::Recording {
    explicit Recording(const QString& path) : file(path) {}

    void write(const QList<float>& samples) {
        if (failure)
            return;
        try {
            file.write(samples);
            hasSound = true;
        } catch (const FileError& error) {
            failure = error;
        }
    }
    void finish() {
        if (failure)
            throw FileError(*failure);
        if (!hasSound)
            throw FileError(QStringLiteral("nothing was heard"));
        file.finish();
    }

    AacFile file;
    bool hasSound = false;
    std::optional<FileError> failure;
};

VoiceRecorder::VoiceRecorder(AudioInput* input, const QString& folder, Clock& clock, QObject* parent)
    : QObject(parent), input_(folder.isEmpty() ? nullptr : input), folder_(folder),
      path_(folder + QStringLiteral("/teskal-voice.m4a")), clock_(clock) {
    if (!input_)
        return;
    removeFile();
    connect(input_, &AudioInput::heard, this, &VoiceRecorder::take);
    connect(input_, &AudioInput::lost, this, &VoiceRecorder::rest);
}

VoiceRecorder::~VoiceRecorder() {
    if (isListening())
        input_->stop();
    removeFile();
}

QCoro::Task<void> VoiceRecorder::start(std::stop_token stop) {
    const quint64 attempt = ++attempt_;
    if (!input_)
        refuse(State::CouldNotStart);
    auto asking = input_->askAccess(stop);
    const bool allowed = co_await asking;
    if (attempt != attempt_)
        throw Cancelled();
    if (!allowed)
        refuse(State::Denied);
    begin();
}

void VoiceRecorder::begin() {
    removeFile();
    try {
        makeFolder(folder_);
        recording_ = std::make_shared<Recording>(path_);
    } catch (const FileError&) {
        refuse(State::CouldNotStart);
    }
    if (!input_->start()) {
        recording_.reset();
        refuse(State::CouldNotStart);
    }
    room_ = longestMs / 1000 * AudioInput::sampleRate;
    sinceLastTick_.clear();
    beganMs_ = clock_.steadyMs();
    ticker_ = clock_.after(tickTime, [this] { tick(); });
    setElapsed(0);
    setLevel(0);
    setState(State::Recording);
}

void VoiceRecorder::refuse(State state) {
    removeFile();
    setState(state);
    throw VoiceFailure(state == State::Denied ? VoiceFailure::Kind::Denied
                                              : VoiceFailure::Kind::CouldNotStart);
}

void VoiceRecorder::take(QList<float> samples) {
    if (!isListening())
        return;
    if (samples.size() > room_)
        samples.resize(room_);
    room_ -= samples.size();
    sinceLastTick_ += samples;
    worker_.run([recording = recording_, samples] { recording->write(samples); }, nullptr);
}

void VoiceRecorder::tick() {
    measureTime();
    if (elapsedMs_ == longestMs)
        return endListening();
    // Some devices deliver in longer pieces.
    if (!sinceLastTick_.isEmpty())
        setLevel(meterLevel(decibels(std::exchange(sinceLastTick_, {}))));
    if (!isListening())
        return; // whoever was told of the time or the level has ended it
    ticker_ = clock_.after(tickTime, [this] { tick(); });
}

void VoiceRecorder::measureTime() {
    if (isListening())
        setElapsed(std::min(clock_.steadyMs() - beganMs_, longestMs));
}

void VoiceRecorder::endListening() {
    if (!isListening())
        return;
    ticker_.reset();
    input_->stop();
    setLevel(0);
}

void VoiceRecorder::rest() {
    measureTime();
    endListening();
}

std::optional<Completion<QByteArray>> VoiceRecorder::stop(bool keep) {
    rest();
    std::shared_ptr<Recording> ended = std::exchange(recording_, nullptr);
    if (!ended)
        return std::nullopt;
    if (!keep || elapsedMs_ <= slipMs) {
        worker_.run([last = std::move(ended)] {}, nullptr); // closed where it was written
        return std::nullopt;
    }
    return runOn(worker_, [last = std::move(ended), path = path_] {
        last->finish();
        return contentOf(path);
    });
}

void VoiceRecorder::transcribing() {
    setState(State::Transcribing);
}

void VoiceRecorder::finished() {
    ++attempt_;
    stop(false);
    removeFile();
    setState(State::Idle);
}

void VoiceRecorder::removeFile() {
    if (input_)
        QFile::remove(path_);
}

void VoiceRecorder::setState(State state) {
    if (std::exchange(state_, state) != state)
        Q_EMIT stateChanged();
}

void VoiceRecorder::setElapsed(qint64 ms) {
    if (std::exchange(elapsedMs_, ms) != ms)
        Q_EMIT elapsedChanged();
}

void VoiceRecorder::setLevel(float level) {
    if (std::exchange(level_, level) != level)
        Q_EMIT levelChanged();
}

} // namespace teskal
