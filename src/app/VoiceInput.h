#pragma once

#include "Scope.h"
#include "TeskalAPI.h"
#include "VoiceRecorder.h"

#include <QObject>

#include <functional>

namespace teskal {

/// Turns what the user says into words for a draft: records, has the service listen, and hands the words
/// over. Main thread only.
class VoiceInput final : public QObject {
    Q_OBJECT

public:
    using ApiFactory = std::function<TeskalAPI()>;

    /// \a input and \a folder as VoiceRecorder takes them. \a api makes a client for the account that is
    /// signed in when it is called.
    VoiceInput(AudioInput* input, const QString& folder, Clock& clock, ApiFactory api,
               QObject* parent = nullptr);
    ~VoiceInput() override;

    const VoiceRecorder& recorder() const { return recorder_; }

    /// Begins to record for the draft \a slot, a chat's identifier or empty, or throws away what is being
    /// recorded. Nothing while a recording is about to begin or being turned into words.
    void toggle(const QString& slot);
    /// Ends the recording and has it turned into words.
    void finish();
    /// Throws away whatever is under way; nothing more comes of it.
    void discard();
    /// Throws away what is being recorded, or about to be; what is being turned into words goes on.
    void discardRecording();
    /// Nobody sees that it listens: it does no longer. What was said waits for finish().
    void rest();
    /// The draft at \a from is the one at \a to now.
    void moveSlot(const QString& from, const QString& to);
    /// Throws away what is being said for a draft that is not \a wanted any more.
    void keepOnly(const std::function<bool(const QString& slot)>& wanted);

Q_SIGNALS:
    /// \a words, trimmed, belong to the draft \a slot; they may be empty. The recorder is idle already.
    void heard(const QString& slot, const QString& words);
    /// It came to nothing; \a notice says why, for the user. The recorder does not record.
    void failed(const QString& notice);

private:
    bool isActive() const;
    QCoro::Task<void> begin(quint64 number, std::stop_token stop);
    QCoro::Task<void> transcribe(quint64 number, Completion<QByteArray> recording, std::stop_token stop);
    void launch(const std::function<QCoro::Task<void>(quint64, std::stop_token)>& work);

    VoiceRecorder recorder_;
    ApiFactory api_;
    QString slot_;
    quint64 working_ = 0; ///< number of the start or transcription under way; 0 for none
    quint64 lastNumber_ = 0;
    Job job_;
    Scope scope_; // last: its coroutines use the above
};

} // namespace teskal
