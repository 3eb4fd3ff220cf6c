#include "VoiceInput.h"

#include "Cancelled.h"
#include "SpeechNotice.h"
#include "VoiceFailure.h"

namespace teskal {

VoiceInput::VoiceInput(AudioInput* input, const QString& folder, Clock& clock, ApiFactory api,
                       QObject* parent)
    : QObject(parent), recorder_(input, folder, clock), api_(std::move(api)) {}

VoiceInput::~VoiceInput() = default;

bool VoiceInput::isActive() const {
    return working_ != 0 || recorder_.state() == VoiceRecorder::State::Recording;
}

void VoiceInput::toggle(const QString& slot) {
    if (working_ != 0)
        return;
    if (isActive())
        return discard();
    slot_ = slot;
    launch([this](quint64 number, std::stop_token stop) { return begin(number, std::move(stop)); });
}

void VoiceInput::finish() {
    if (working_ != 0 || !isActive())
        return;
    const auto recording = recorder_.stop(true);
    if (!recording)
        return recorder_.finished();
    launch([&](quint64 number, std::stop_token stop) {
        return transcribe(number, *recording, std::move(stop));
    });
}

void VoiceInput::discard() {
    working_ = 0;
    job_.cancel();
    recorder_.finished();
}

void VoiceInput::discardRecording() {
    if (recorder_.state() != VoiceRecorder::State::Transcribing)
        discard();
}

void VoiceInput::rest() {
    if (recorder_.state() == VoiceRecorder::State::Recording)
        recorder_.rest();
    else
        discardRecording();
}

void VoiceInput::moveSlot(const QString& from, const QString& to) {
    if (isActive() && slot_ == from)
        slot_ = to;
}

void VoiceInput::keepOnly(const std::function<bool(const QString& slot)>& wanted) {
    if (isActive() && !wanted(slot_))
        discard();
}

void VoiceInput::launch(const std::function<QCoro::Task<void>(quint64, std::stop_token)>& work) {
    const quint64 number = working_ = ++lastNumber_;
    const Job job = scope_.launch([&](std::stop_token stop) { return work(number, std::move(stop)); });
    if (working_ == number)
        job_ = job;
}

QCoro::Task<void> VoiceInput::begin(quint64 number, std::stop_token stop) {
    QString notice;
    try {
        auto starting = recorder_.start(stop);
        co_await starting;
    } catch (const VoiceFailure& failure) {
        notice = failure.text();
    }
    if (working_ != number)
        co_return;
    working_ = 0;
    if (!notice.isEmpty())
        Q_EMIT failed(notice);
}

QCoro::Task<void> VoiceInput::transcribe(quint64 number, Completion<QByteArray> recording,
                                         std::stop_token stop) {
    recorder_.transcribing();
    QString words;
    QString notice;
    try {
        const QByteArray audio = co_await recording.wait(stop);
        if (working_ != number)
            co_return; // discarded, perhaps with its account, while it waited for its turn
        const TeskalAPI api = api_();
        auto asking = api.transcribe(audio, QStringLiteral("audio/mp4"), stop);
        words = co_await asking;
    } catch (const Cancelled&) {
        if (working_ == number && !stop.stop_requested())
            discard(); // the account went
        co_return;
    } catch (const std::exception& failure) {
        notice = speechNotice(failure, tr("Couldn’t hear that. Try again."));
    }
    if (working_ != number)
        co_return;
    working_ = 0;
    recorder_.finished();
    if (notice.isEmpty())
        Q_EMIT heard(slot_, words.trimmed());
    else
        Q_EMIT failed(notice);
}

} // namespace teskal
