#include "Sound.h"

#include "AudioInput.h"

#include <QFile>
#include <QTemporaryFile>
#include <QtEndian>

#include <cmath>
#include <memory>
#include <numbers>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

namespace teskal::test {

namespace {

struct Free {
    void operator()(AVFormatContext* container) const { avformat_close_input(&container); }
    void operator()(AVCodecContext* codec) const { avcodec_free_context(&codec); }
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
};
template<typename T>
using Owned = std::unique_ptr<T, Free>;

Owned<AVFormatContext> opened(const QString& path) {
    AVFormatContext* container = nullptr;
    if (avformat_open_input(&container, QFile::encodeName(path).constData(), nullptr, nullptr) < 0)
        return nullptr;
    Owned<AVFormatContext> result(container);
    if (avformat_find_stream_info(container, nullptr) < 0 || container->nb_streams != 1)
        return nullptr;
    return result;
}

QList<float> decoded(AVFormatContext* container, AVCodecContext* codec) {
    QList<float> samples;
    const Owned<AVPacket> packet(av_packet_alloc());
    const Owned<AVFrame> frame(av_frame_alloc());
    const auto drain = [&] {
        while (avcodec_receive_frame(codec, frame.get()) >= 0)
            for (int i = 0; i < frame->nb_samples; ++i)
                samples.append(reinterpret_cast<const float*>(frame->extended_data[0])[i]);
    };
    while (av_read_frame(container, packet.get()) >= 0) {
        avcodec_send_packet(codec, packet.get());
        drain();
        av_packet_unref(packet.get());
    }
    avcodec_send_packet(codec, nullptr);
    drain();
    return samples;
}

} // namespace

QList<float> tone(int ms, float amplitude, double hertz) {
    QList<float> samples(qint64(ms) * AudioInput::sampleRate / 1000);
    for (qsizetype i = 0; i < samples.size(); ++i)
        samples[i] =
            amplitude * float(std::sin(2 * std::numbers::pi * hertz * double(i) / AudioInput::sampleRate));
    return samples;
}

QByteArray wavFile(const QList<float>& samples) {
    const auto number = [](auto value) {
        value = qToLittleEndian(value);
        return QByteArray(reinterpret_cast<const char*>(&value), sizeof value);
    };
    QByteArray data;
    for (const float sample : samples)
        data += number(qint16(std::lround(sample * 32767)));
    const QByteArray format =
        number(quint16(1)) + number(quint16(1)) + number(quint32(AudioInput::sampleRate)) +
        number(quint32(AudioInput::sampleRate * 2)) + number(quint16(2)) + number(quint16(16));
    return "RIFF" + number(quint32(20 + format.size() + data.size())) + "WAVEfmt " +
           number(quint32(format.size())) + format + "data" + number(quint32(data.size())) + data;
}

Sound readSound(const QString& path) {
    const Owned<AVFormatContext> container = opened(path);
    if (!container)
        return {};
    const AVCodecParameters* parameters = container->streams[0]->codecpar;
    const AVCodec* decoder = avcodec_find_decoder(parameters->codec_id);
    const Owned<AVCodecContext> codec(avcodec_alloc_context3(decoder));
    if (avcodec_parameters_to_context(codec.get(), parameters) < 0 ||
        avcodec_open2(codec.get(), decoder, nullptr) < 0)
        return {};
    const QString names = QString::fromLatin1(container->iformat->name);
    Sound sound;
    sound.format = u"%1%2 %3 %4"_qs
                       .arg(names.contains(QLatin1String("m4a")) ? u"m4a "_qs : QString(),
                            QString::fromLatin1(avcodec_get_name(parameters->codec_id)))
                       .arg(parameters->sample_rate)
                       .arg(parameters->ch_layout.nb_channels);
    sound.durationMs = double(container->duration) * 1000 / AV_TIME_BASE;
    if (codec->sample_fmt == AV_SAMPLE_FMT_FLTP)
        sound.samples = decoded(container.get(), codec.get());
    return sound;
}

Sound readSound(const QByteArray& file) {
    QTemporaryFile copy;
    if (!copy.open() || copy.write(file) != file.size() || !copy.flush())
        return {};
    return readSound(copy.fileName());
}

} // namespace teskal::test
