#include "BareEncoder.h"

#include <algorithm>

extern "C" {
#include <libavcodec/avcodec.h>
}

namespace teskal::bench {

qsizetype encodeBare(const QList<float>& samples) {
    constexpr int rate = 44'100;
    const AVCodec* const aac = avcodec_find_encoder(AV_CODEC_ID_AAC);
    AVCodecContext* codec = avcodec_alloc_context3(aac);
    codec->sample_rate = rate;
    codec->sample_fmt = AV_SAMPLE_FMT_FLTP;
    av_channel_layout_default(&codec->ch_layout, 1);
    codec->bit_rate = 96'000;
    codec->time_base = {1, rate};
    avcodec_open2(codec, aac, nullptr);
    AVFrame* frame = av_frame_alloc();
    frame->nb_samples = codec->frame_size;
    frame->format = codec->sample_fmt;
    av_channel_layout_copy(&frame->ch_layout, &codec->ch_layout);
    av_frame_get_buffer(frame, 0);
    AVPacket* packet = av_packet_alloc();
    qsizetype bytes = 0;
    const auto send = [&](const AVFrame* sent) {
        avcodec_send_frame(codec, sent);
        for (; avcodec_receive_packet(codec, packet) >= 0; av_packet_unref(packet))
            bytes += packet->size;
    };
    for (qsizetype at = 0; at + codec->frame_size <= samples.size(); at += codec->frame_size) {
        av_frame_make_writable(frame);
        std::copy_n(samples.cbegin() + at, codec->frame_size, reinterpret_cast<float*>(frame->data[0]));
        frame->pts = at;
        send(frame);
    }
    send(nullptr);
    av_packet_free(&packet);
    av_frame_free(&frame);
    avcodec_free_context(&codec);
    return bytes;
}

} // namespace teskal::bench
