#pragma once

#include <QByteArray>
#include <QObject>

namespace teskal {

/// Plays one sound at a time on the user's output device. Main thread only.
class AudioPlayer : public QObject {
    Q_OBJECT

public:
    using QObject::QObject;

    /// Plays \a audio, the bytes of a whole file, from its beginning, instead of what was playing. One signal
    /// follows, unless stop() or another play() comes first.
    virtual void play(const QByteArray& audio) = 0;
    /// No signal follows.
    virtual void stop() = 0;

Q_SIGNALS:
    /// It could not begin: no device, or no sound that is understood. May fire inside play().
    void failed();
    /// It came to its end, or broke off on the way.
    void finished();
};

} // namespace teskal
