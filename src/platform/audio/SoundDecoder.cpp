#include "SoundDecoder.h"

#include "LazyFfmpeg.h"
#include "SampleFormat.h"

#include <algorithm>
#include <cstring>

namespace teskal {

namespace {

constexpr int pieceSize = 16 * 1024;
/// Files of sound alone: some of the formats the libraries know name other files, which they would open.
constexpr const char* formats = "mp3,wav,w64,flac,ogg,aac,mov,mp4,m4a,matroska,webm,aiff,au,caf";

struct Free {
    void operator()(AVIOContext* bytes) const {
        av_freep(&bytes->buffer);
        avio_context_free(&bytes);
    }
    void operator()(AVFormatContext* container) const { avformat_close_input(&container); }
    void operator()(AVCodecContext* codec) const { avcodec_free_context(&codec); }
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
    void operator()(SwrContext* converter) const { swr_free(&converter); }
};
template<typename T>
using Owned = std::unique_ptr<T, Free>;

} // namespace

struct SoundDecoder::Parts {
    QByteArray file;
    int64_t place = 0; ///< of the next byte the libraries read
    Owned<AVIOContext> bytes;
    Owned<AVFormatContext> container;
    Owned<AVCodecContext> codec;
    Owned<AVPacket> packet{av_packet_alloc()};
    Owned<AVFrame> frame{av_frame_alloc()};
    Owned<SwrContext> converter;
    QAudioFormat wanted;
    AVSampleFormat sampleType = AV_SAMPLE_FMT_NONE; ///< of the frames that the converter takes
    int rate = 0;
    int channels = 0;
    int stream = -1;

    bool open();
    bool openCodec();
    bool receive();
    bool adapt();
    QByteArray convert(const AVFrame* from);

    static int read(void* parts, uint8_t* to, int size);
    static int64_t seek(void* parts, int64_t offset, int whence);
};

int SoundDecoder::Parts::read(void* parts, uint8_t* to, int size) {
    auto& self = *static_cast<Parts*>(parts);
    const auto count = std::min<int64_t>(size, self.file.size() - self.place);
    if (count <= 0)
        return AVERROR_EOF;
    std::memcpy(to, self.file.constData() + self.place, size_t(count));
    self.place += count;
    return int(count);
}

int64_t SoundDecoder::Parts::seek(void* parts, int64_t offset, int whence) {
    auto& self = *static_cast<Parts*>(parts);
    const int64_t size = self.file.size();
    if (whence == AVSEEK_SIZE)
        return size;
    const int64_t from = whence == SEEK_CUR ? self.place : whence == SEEK_END ? size : 0;
    if (offset < -from || offset > size - from)
        return AVERROR(EINVAL);
    return self.place = from + offset;
}

bool SoundDecoder::Parts::open() {
    auto* buffer = static_cast<unsigned char*>(av_malloc(std::size_t(pieceSize)));
    bytes.reset(avio_alloc_context(buffer, pieceSize, 0, this, &Parts::read, nullptr, &Parts::seek));
    AVFormatContext* opening = avformat_alloc_context();
    opening->pb = bytes.get();
    AVDictionary* options = nullptr;
    av_dict_set(&options, "format_whitelist", formats, 0);
    const int result = avformat_open_input(&opening, nullptr, nullptr, &options); // frees it when it fails
    av_dict_free(&options);
    if (result < 0)
        return false;
    container.reset(opening);
    return avformat_find_stream_info(opening, nullptr) >= 0 && openCodec();
}

bool SoundDecoder::Parts::openCodec() {
    const AVCodec* decoder = nullptr;
    stream = av_find_best_stream(container.get(), AVMEDIA_TYPE_AUDIO, -1, -1, &decoder, 0);
    if (stream < 0 || !decoder)
        return false;
    codec.reset(avcodec_alloc_context3(decoder));
    return avcodec_parameters_to_context(codec.get(), container->streams[stream]->codecpar) >= 0 &&
           avcodec_open2(codec.get(), decoder, nullptr) >= 0 && codec->sample_rate > 0 &&
           codec->ch_layout.nb_channels > 0;
}

/// Has the next of the sound in the frame; false at the end.
bool SoundDecoder::Parts::receive() {
    for (;;) {
        const int received = avcodec_receive_frame(codec.get(), frame.get());
        if (received >= 0)
            return true;
        if (received != AVERROR(EAGAIN))
            return false;
        const int given = av_read_frame(container.get(), packet.get());
        if (given < 0)
            avcodec_send_packet(codec.get(), nullptr); // what it still holds
        else if (packet->stream_index == stream)
            avcodec_send_packet(codec.get(), packet.get()); // one that is damaged is left out
        av_packet_unref(packet.get());
    }
}

/// Makes the converter one for the frame; a file may change its mind in the middle.
bool SoundDecoder::Parts::adapt() {
    if (converter && frame->format == sampleType && frame->sample_rate == rate &&
        frame->ch_layout.nb_channels == channels)
        return true;
    sampleType = AVSampleFormat(frame->format);
    rate = frame->sample_rate;
    channels = frame->ch_layout.nb_channels;
    AVChannelLayout to{};
    av_channel_layout_default(&to, wanted.channelCount());
    SwrContext* made = nullptr;
    swr_alloc_set_opts2(&made, &to, sampleFormat(wanted.sampleFormat()), wanted.sampleRate(),
                        &frame->ch_layout, sampleType, rate, 0, nullptr);
    converter.reset(made);
    return made && swr_init(made) >= 0;
}

/// \a from is none at the end, when the change of the rate has still something to give.
QByteArray SoundDecoder::Parts::convert(const AVFrame* from) {
    const int count = from ? from->nb_samples : 0;
    QByteArray samples;
    samples.resize(qsizetype(std::max(swr_get_out_samples(converter.get(), count), 0)) *
                   wanted.bytesPerFrame());
    auto* to = reinterpret_cast<uint8_t*>(samples.data());
    const uint8_t** planes = from ? const_cast<const uint8_t**>(from->extended_data) : nullptr;
    const int converted =
        swr_convert(converter.get(), &to, int(samples.size() / wanted.bytesPerFrame()), planes, count);
    samples.resize(qsizetype(std::max(converted, 0)) * wanted.bytesPerFrame());
    return samples;
}

SoundDecoder::SoundDecoder(const QByteArray& file) {
    if (!LazyFfmpeg::isThere())
        return;
    av_log_set_level(AV_LOG_QUIET);
    auto parts = std::make_unique<Parts>();
    parts->file = file;
    if (parts->open())
        parts_ = std::move(parts);
}

SoundDecoder::~SoundDecoder() = default;

QAudioFormat SoundDecoder::format() const {
    QAudioFormat format;
    if (!parts_)
        return format;
    format.setSampleRate(parts_->codec->sample_rate);
    format.setChannelCount(parts_->codec->ch_layout.nb_channels);
    format.setSampleFormat(QAudioFormat::Float);
    return format;
}

QByteArray SoundDecoder::next(const QAudioFormat& format) {
    if (!parts_)
        return {};
    parts_->wanted = format;
    while (parts_->receive()) {
        if (!parts_->adapt())
            return {};
        if (const QByteArray samples = parts_->convert(parts_->frame.get()); !samples.isEmpty())
            return samples;
    }
    return parts_->converter ? parts_->convert(nullptr) : QByteArray();
}

} // namespace teskal
