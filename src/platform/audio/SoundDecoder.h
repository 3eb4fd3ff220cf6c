#pragma once

#include <QAudioFormat>
#include <QByteArray>

#include <memory>

namespace teskal {

/// Decodes the sound in the bytes of a file as it is asked for, so that memory holds a moment of it. The
/// bytes may be anything: what is no sound, or breaks off, is simply shorter. Any thread, one at a time.
class SoundDecoder {
public:
    explicit SoundDecoder(const QByteArray& file);
    ~SoundDecoder();
    SoundDecoder(const SoundDecoder&) = delete;
    SoundDecoder& operator=(const SoundDecoder&) = delete;

    /// As the sound was made: its rate and channels, as floating-point samples. Invalid when there is none.
    QAudioFormat format() const;
    /// The next moment of the sound, as whole samples of \a format, which is always the same. Empty at the
    /// end.
    QByteArray next(const QAudioFormat& format);

private:
    struct Parts;

    std::unique_ptr<Parts> parts_; ///< none when there is no sound
};

} // namespace teskal
