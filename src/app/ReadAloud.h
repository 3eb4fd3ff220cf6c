#pragma once

#include "AudioState.h"
#include "Scope.h"
#include "TeskalAPI.h"

#include <QObject>

#include <functional>
#include <optional>

namespace teskal {

class AudioPlayer;

/// Has answers read aloud, one at a time: asks the service for the sound of a text and plays it. Main thread
/// only.
class ReadAloud final : public QObject {
    Q_OBJECT

public:
    using ApiFactory = std::function<TeskalAPI()>;

    /// \a player must outlive the reading and serve it alone; without one every reading fails. \a api makes a
    /// client for the account that is signed in when it is called.
    ReadAloud(AudioPlayer* player, ApiFactory api, QObject* parent = nullptr);
    ~ReadAloud() override;

    /// The message that is being read; empty when none is.
    QString messageId() const { return reading_ ? reading_->messageId : QString(); }
    AudioState stateOf(const QString& messageId) const;
    /// Begins to read \a text of the message, instead of what is being read; stops when it is this message.
    void toggle(const QString& messageId, const QString& text);
    void stop();

Q_SIGNALS:
    /// stateOf() the message is another one.
    void stateChanged(const QString& messageId, teskal::AudioState state);
    /// The text could not be read; the message is idle already. \a notice says why, for the user.
    void failed(const QString& notice);

private:
    struct Reading {
        quint64 number;
        QString messageId;
        AudioState state;
        Job job;
    };

    QCoro::Task<void> read(quint64 number, QString text, std::stop_token stop);
    bool isCurrent(quint64 number) const { return reading_ && reading_->number == number; }
    void play(quint64 number, const QByteArray& audio);
    void fail(const QString& notice);
    void playerFailed();

    AudioPlayer* player_;
    ApiFactory api_;
    std::optional<Reading> reading_;
    quint64 lastNumber_ = 0;
    Scope scope_; // last: its coroutines use the above
};

} // namespace teskal
