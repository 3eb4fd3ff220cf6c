#pragma once

#include "Clock.h"
#include "Completion.h"
#include "SerialWorker.h"

#include <QCoroTask>
#include <QList>
#include <QObject>

#include <memory>
#include <optional>

namespace teskal {

class AudioInput;

/// Records the microphone, for five minutes at most, into a compressed file that is there only until
/// finished(). Sound is encoded beside the main thread as it comes, so that the end of a long recording is as
/// quick as that of a short one. Main thread only.
class VoiceRecorder final : public QObject {
    Q_OBJECT

public:
    enum class State { Idle, Recording, Transcribing, Denied, CouldNotStart };

    /// \a input must outlive the recorder and serve it alone; without one no recording starts. The file lies
    /// in \a folder, which is made when it is needed and private to the user; one that a crash left goes at
    /// once.
    VoiceRecorder(AudioInput* input, const QString& folder, Clock& clock, QObject* parent = nullptr);
    ~VoiceRecorder() override;

    State state() const { return state_; }
    /// Length of the recording in seconds, told every 0.1 s; the last one's when none is made.
    double elapsed() const { return double(elapsedMs_) / 1000; }
    /// How loud it is, 0 to 1; 0 while nothing is recorded.
    float level() const { return level_; }

    /// Begins to record once the user lets it; whoever calls sees to it that one start is under way at a
    /// time. Throws VoiceFailure, and Cancelled when \a stop is set or finished() was called.
    QCoro::Task<void> start(std::stop_token stop);
    /// Listens no longer; the recording waits, as long as it is, for stop(). Nothing when none is made.
    void rest();
    /// Ends the recording, and gives its bytes, an MPEG-4 file, if it is to be kept: none when it is not, or
    /// is too short to be more than a slip. The bytes fail with FileError when there was no sound or the file
    /// could not be written.
    std::optional<Completion<QByteArray>> stop(bool keep);
    /// The recording that was stopped is being turned into text.
    void transcribing();
    /// Nothing of the recording, or of a start under way, is wanted any more.
    void finished();

Q_SIGNALS:
    void stateChanged();
    void elapsedChanged();
    void levelChanged();

private:
    struct Recording;

    void begin();
    [[noreturn]] void refuse(State state);
    bool isListening() const { return ticker_ != nullptr; }
    void take(QList<float> samples);
    void tick();
    void measureTime();
    void endListening();
    void removeFile();
    void setState(State state);
    void setElapsed(qint64 ms);
    void setLevel(float level);

    AudioInput* input_;
    QString folder_;
    QString path_;
    Clock& clock_;
    State state_ = State::Idle;
    qint64 elapsedMs_ = 0;
    float level_ = 0;
    quint64 attempt_ = 0; ///< tells a start that is still wanted from an older one
    qint64 beganMs_ = 0;
    qsizetype room_ = 0;         ///< samples that the recording may still take
    QList<float> sinceLastTick_; ///< heard since then
    std::unique_ptr<ClockTimer> ticker_;
    std::shared_ptr<Recording> recording_;
    SerialWorker worker_;
};

} // namespace teskal
