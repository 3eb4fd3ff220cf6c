#include "ReadAloud.h"

#include "AudioPlayer.h"
#include "Cancelled.h"
#include "SpeechNotice.h"

namespace teskal {

ReadAloud::ReadAloud(AudioPlayer* player, ApiFactory api, QObject* parent)
    : QObject(parent), player_(player), api_(std::move(api)) {
    if (!player_)
        return;
    connect(player_, &AudioPlayer::finished, this, &ReadAloud::stop);
    connect(player_, &AudioPlayer::failed, this, &ReadAloud::playerFailed);
}

ReadAloud::~ReadAloud() {
    if (player_)
        player_->stop();
    reading_.reset();
}

AudioState ReadAloud::stateOf(const QString& messageId) const {
    return reading_ && reading_->messageId == messageId ? reading_->state : AudioState::Idle;
}

void ReadAloud::toggle(const QString& messageId, const QString& text) {
    const bool wasRead = stateOf(messageId) != AudioState::Idle;
    stop();
    if (wasRead)
        return;
    const quint64 number = ++lastNumber_;
    reading_ = Reading{number, messageId, AudioState::Loading, Job()};
    Q_EMIT stateChanged(messageId, AudioState::Loading);
    if (!isCurrent(number))
        return;
    const Job job = scope_.launch([&](std::stop_token stop) { return read(number, text, std::move(stop)); });
    if (isCurrent(number))
        reading_->job = job;
}

void ReadAloud::stop() {
    if (!reading_)
        return;
    const Reading stopped = *std::exchange(reading_, std::nullopt);
    stopped.job.cancel();
    if (player_)
        player_->stop();
    Q_EMIT stateChanged(stopped.messageId, AudioState::Idle);
}

QCoro::Task<void> ReadAloud::read(quint64 number, QString text, std::stop_token stop) {
    QByteArray audio;
    QString notice;
    try {
        const TeskalAPI api = api_();
        auto asking = api.speech(text, stop);
        audio = co_await asking;
    } catch (const Cancelled&) {
        if (isCurrent(number))
            this->stop(); // the account went
        co_return;
    } catch (const std::exception& failure) {
        notice = speechNotice(failure, tr("Couldn’t read that aloud."));
    }
    if (!isCurrent(number))
        co_return;
    if (!notice.isEmpty())
        fail(notice);
    else
        play(number, audio);
}

void ReadAloud::play(quint64 number, const QByteArray& audio) {
    if (!player_)
        return playerFailed();
    player_->play(audio);
    if (!isCurrent(number))
        return; // it failed at once
    reading_->state = AudioState::Playing;
    Q_EMIT stateChanged(reading_->messageId, AudioState::Playing);
}

void ReadAloud::playerFailed() {
    fail(tr("Couldn’t read that aloud."));
}

void ReadAloud::fail(const QString& notice) {
    if (!reading_)
        return;
    stop();
    Q_EMIT failed(notice);
}

} // namespace teskal
