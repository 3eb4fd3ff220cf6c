#include "AacFile.h"

#include "AudioInput.h"
#include "LazyFfmpeg.h"

#include <QFile>

#include <algorithm>
#include <array>

namespace teskal {

namespace {

/// Bits a second; more is not heard in a voice.
constexpr qint64 bitRate = 96'000;

[[noreturn]] void fail(int error) {
    std::array<char, AV_ERROR_MAX_STRING_SIZE> text{};
    av_strerror(error, text.data(), text.size());
    throw FileError(QString::fromUtf8(text.data()));
}

int check(int result) {
    if (result < 0)
        fail(result);
    return result;
}

template<typename T>
T* made(T* part) {
    if (!part)
        fail(AVERROR(ENOMEM));
    return part;
}

struct Free {
    void operator()(AVCodecContext* codec) const { avcodec_free_context(&codec); }
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
    void operator()(AVFormatContext* container) const {
        avio_closep(&container->pb);
        avformat_free_context(container);
    }
};

std::unique_ptr<AVCodecContext, Free> openCodec(bool headersApart) {
    const AVCodec* aac = avcodec_find_encoder(AV_CODEC_ID_AAC);
    if (!aac)
        fail(AVERROR_ENCODER_NOT_FOUND);
    std::unique_ptr<AVCodecContext, Free> codec(made(avcodec_alloc_context3(aac)));
    codec->sample_rate = AudioInput::sampleRate;
    codec->sample_fmt = AV_SAMPLE_FMT_FLTP;
    av_channel_layout_default(&codec->ch_layout, 1);
    codec->bit_rate = bitRate;
    codec->time_base = {1, AudioInput::sampleRate};
    if (headersApart)
        codec->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    check(avcodec_open2(codec.get(), aac, nullptr));
    return codec;
}

} // namespace

struct AacFile::Encoder {
    std::unique_ptr<AVFormatContext, Free> container;
    std::unique_ptr<AVCodecContext, Free> codec;
    std::unique_ptr<AVFrame, Free> frame{made(av_frame_alloc())};
    std::unique_ptr<AVPacket, Free> packet{made(av_packet_alloc())};
    AVStream* stream = nullptr; ///< the container's
    int filled = 0;             ///< samples in the frame
    int64_t written = 0;        ///< samples in the frames before it

    explicit Encoder(const QByteArray& path);
    float* samples() { return reinterpret_cast<float*>(frame->data[0]); }
    void sendFrame();
    void drain();
};

AacFile::Encoder::Encoder(const QByteArray& path) {
    AVFormatContext* newContainer = nullptr;
    check(avformat_alloc_output_context2(&newContainer, nullptr, "ipod", nullptr));
    container.reset(newContainer);
    codec = openCodec(container->oformat->flags & AVFMT_GLOBALHEADER);
    stream = made(avformat_new_stream(container.get(), nullptr));
    stream->time_base = codec->time_base;
    check(avcodec_parameters_from_context(stream->codecpar, codec.get()));

    frame->nb_samples = codec->frame_size;
    frame->format = codec->sample_fmt;
    frame->sample_rate = codec->sample_rate;
    check(av_channel_layout_copy(&frame->ch_layout, &codec->ch_layout));
    check(av_frame_get_buffer(frame.get(), 0));

    // With the protocol's name no other is seen in the path.
    check(avio_open(&container->pb, ("file:" + path).constData(), AVIO_FLAG_WRITE));
    check(avformat_write_header(container.get(), nullptr));
}

void AacFile::Encoder::sendFrame() {
    frame->nb_samples = filled;
    frame->pts = written;
    check(avcodec_send_frame(codec.get(), frame.get()));
    written += filled;
    filled = 0;
    drain();
    frame->nb_samples = codec->frame_size;
    check(av_frame_make_writable(frame.get()));
}

void AacFile::Encoder::drain() {
    for (;;) {
        const int result = avcodec_receive_packet(codec.get(), packet.get());
        if (result == AVERROR(EAGAIN) || result == AVERROR_EOF)
            return;
        check(result);
        packet->stream_index = stream->index;
        av_packet_rescale_ts(packet.get(), codec->time_base, stream->time_base);
        check(av_interleaved_write_frame(container.get(), packet.get()));
    }
}

AacFile::AacFile(const QString& path) {
    if (!LazyFfmpeg::isThere())
        throw FileError(QStringLiteral("the libraries that encode sound are missing"));
    // The libraries report to the standard error stream on their own; what matters comes back as an error.
    av_log_set_level(AV_LOG_QUIET);
    encoder_ = std::make_unique<Encoder>(QFile::encodeName(path));
}

AacFile::~AacFile() = default;

void AacFile::write(const QList<float>& samples) {
    const int frameSize = encoder_->codec->frame_size;
    for (auto next = samples.cbegin(); next != samples.cend();) {
        const auto count = std::min<qsizetype>(frameSize - encoder_->filled, samples.cend() - next);
        std::copy_n(next, count, encoder_->samples() + encoder_->filled);
        next += count;
        encoder_->filled += int(count);
        if (encoder_->filled == frameSize)
            encoder_->sendFrame();
    }
}

void AacFile::finish() {
    if (encoder_->filled > 0)
        encoder_->sendFrame();
    check(avcodec_send_frame(encoder_->codec.get(), nullptr));
    encoder_->drain();
    check(av_write_trailer(encoder_->container.get()));
    check(avio_closep(&encoder_->container->pb));
    encoder_.reset();
}

} // namespace teskal
