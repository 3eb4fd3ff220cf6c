#pragma once

#include <QByteArray>
#include <QList>

#include <memory>

class QAudioFormat;
struct SwrContext;

namespace teskal {

/// Turns what a device delivers into one channel of AudioInput::sampleRate samples a second, -1 to 1.
class SampleConverter {
public:
    explicit SampleConverter(const QAudioFormat& format);
    ~SampleConverter();

    /// False when the format is not understood; nothing comes out then.
    bool isValid() const { return context_ != nullptr; }
    /// What follows the bytes given before; a part of a sample is kept for the next time, and so is what the
    /// change of the rate needs to look ahead.
    QList<float> convert(const QByteArray& bytes);

private:
    struct Free {
        void operator()(SwrContext* context) const;
    };

    std::unique_ptr<SwrContext, Free> context_;
    int bytesPerFrame_;
    QByteArray rest_;
};

} // namespace teskal
