#include "SampleConverter.h"

#include "AudioInput.h"
#include "LazyFfmpeg.h"
#include "SampleFormat.h"

#include <QAudioFormat>

#include <vector>

namespace teskal {

void SampleConverter::Free::operator()(SwrContext* context) const {
    swr_free(&context);
}

SampleConverter::SampleConverter(const QAudioFormat& format) : bytesPerFrame_(format.bytesPerFrame()) {
    if (!LazyFfmpeg::isThere())
        return;
    AVChannelLayout from{};
    AVChannelLayout to{};
    av_channel_layout_default(&from, format.channelCount());
    av_channel_layout_default(&to, 1);
    SwrContext* context = nullptr;
    const bool made =
        format.isValid() &&
        swr_alloc_set_opts2(&context, &to, AV_SAMPLE_FMT_FLT, AudioInput::sampleRate, &from,
                            sampleFormat(format.sampleFormat()), format.sampleRate(), 0, nullptr) >= 0;
    context_.reset(context);
    // The mean of all channels; the library's own mixture is louder than any of them.
    const std::vector<double> weights(size_t(std::max(format.channelCount(), 1)),
                                      1.0 / std::max(format.channelCount(), 1));
    if (!made || swr_set_matrix(context, weights.data(), int(weights.size())) < 0 || swr_init(context) < 0)
        context_.reset();
}

SampleConverter::~SampleConverter() = default;

QList<float> SampleConverter::convert(const QByteArray& bytes) {
    if (!context_)
        return {};
    rest_ += bytes;
    const int frames = int(rest_.size() / bytesPerFrame_);
    if (frames == 0)
        return {};
    QList<float> samples(std::max(swr_get_out_samples(context_.get(), frames), 0));
    const auto* from = reinterpret_cast<const uint8_t*>(rest_.constData());
    auto* to = reinterpret_cast<uint8_t*>(samples.data());
    const int count = swr_convert(context_.get(), &to, int(samples.size()), &from, frames);
    samples.resize(std::max(count, 0));
    rest_.remove(0, frames * bytesPerFrame_);
    return samples;
}

} // namespace teskal
