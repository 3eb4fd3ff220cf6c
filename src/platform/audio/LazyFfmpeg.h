#pragma once

// FFmpeg's functions, loaded when they are used: its codecs bring some eighty libraries along.

#include "LazyLibrary.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libswresample/swresample.h>
}

// clang-format off
#define TESKAL_FFMPEG_FUNCTIONS(USE, Table)                                                                  \
    USE(avutil, LIBAVUTIL_VERSION_MAJOR, av_channel_layout_copy, Table)                                      \
    USE(avutil, LIBAVUTIL_VERSION_MAJOR, av_channel_layout_default, Table)                                   \
    USE(avutil, LIBAVUTIL_VERSION_MAJOR, av_dict_free, Table)                                                \
    USE(avutil, LIBAVUTIL_VERSION_MAJOR, av_dict_set, Table)                                                 \
    USE(avutil, LIBAVUTIL_VERSION_MAJOR, av_frame_alloc, Table)                                              \
    USE(avutil, LIBAVUTIL_VERSION_MAJOR, av_frame_free, Table)                                               \
    USE(avutil, LIBAVUTIL_VERSION_MAJOR, av_frame_get_buffer, Table)                                         \
    USE(avutil, LIBAVUTIL_VERSION_MAJOR, av_frame_make_writable, Table)                                      \
    USE(avutil, LIBAVUTIL_VERSION_MAJOR, av_freep, Table)                                                    \
    USE(avutil, LIBAVUTIL_VERSION_MAJOR, av_log_set_level, Table)                                            \
    USE(avutil, LIBAVUTIL_VERSION_MAJOR, av_malloc, Table)                                                   \
    USE(avutil, LIBAVUTIL_VERSION_MAJOR, av_strerror, Table)                                                 \
    USE(avcodec, LIBAVCODEC_VERSION_MAJOR, av_packet_alloc, Table)                                           \
    USE(avcodec, LIBAVCODEC_VERSION_MAJOR, av_packet_free, Table)                                            \
    USE(avcodec, LIBAVCODEC_VERSION_MAJOR, av_packet_rescale_ts, Table)                                      \
    USE(avcodec, LIBAVCODEC_VERSION_MAJOR, av_packet_unref, Table)                                           \
    USE(avcodec, LIBAVCODEC_VERSION_MAJOR, avcodec_alloc_context3, Table)                                    \
    USE(avcodec, LIBAVCODEC_VERSION_MAJOR, avcodec_find_encoder, Table)                                      \
    USE(avcodec, LIBAVCODEC_VERSION_MAJOR, avcodec_free_context, Table)                                      \
    USE(avcodec, LIBAVCODEC_VERSION_MAJOR, avcodec_open2, Table)                                             \
    USE(avcodec, LIBAVCODEC_VERSION_MAJOR, avcodec_parameters_from_context, Table)                           \
    USE(avcodec, LIBAVCODEC_VERSION_MAJOR, avcodec_parameters_to_context, Table)                             \
    USE(avcodec, LIBAVCODEC_VERSION_MAJOR, avcodec_receive_frame, Table)                                     \
    USE(avcodec, LIBAVCODEC_VERSION_MAJOR, avcodec_receive_packet, Table)                                    \
    USE(avcodec, LIBAVCODEC_VERSION_MAJOR, avcodec_send_frame, Table)                                        \
    USE(avcodec, LIBAVCODEC_VERSION_MAJOR, avcodec_send_packet, Table)                                       \
    USE(avformat, LIBAVFORMAT_VERSION_MAJOR, av_find_best_stream, Table)                                     \
    USE(avformat, LIBAVFORMAT_VERSION_MAJOR, av_interleaved_write_frame, Table)                              \
    USE(avformat, LIBAVFORMAT_VERSION_MAJOR, av_read_frame, Table)                                           \
    USE(avformat, LIBAVFORMAT_VERSION_MAJOR, av_write_trailer, Table)                                        \
    USE(avformat, LIBAVFORMAT_VERSION_MAJOR, avformat_alloc_context, Table)                                  \
    USE(avformat, LIBAVFORMAT_VERSION_MAJOR, avformat_alloc_output_context2, Table)                          \
    USE(avformat, LIBAVFORMAT_VERSION_MAJOR, avformat_close_input, Table)                                    \
    USE(avformat, LIBAVFORMAT_VERSION_MAJOR, avformat_find_stream_info, Table)                               \
    USE(avformat, LIBAVFORMAT_VERSION_MAJOR, avformat_free_context, Table)                                   \
    USE(avformat, LIBAVFORMAT_VERSION_MAJOR, avformat_new_stream, Table)                                     \
    USE(avformat, LIBAVFORMAT_VERSION_MAJOR, avformat_open_input, Table)                                     \
    USE(avformat, LIBAVFORMAT_VERSION_MAJOR, avformat_write_header, Table)                                   \
    USE(avformat, LIBAVFORMAT_VERSION_MAJOR, avio_alloc_context, Table)                                      \
    USE(avformat, LIBAVFORMAT_VERSION_MAJOR, avio_closep, Table)                                             \
    USE(avformat, LIBAVFORMAT_VERSION_MAJOR, avio_context_free, Table)                                       \
    USE(avformat, LIBAVFORMAT_VERSION_MAJOR, avio_open, Table)                                               \
    USE(swresample, LIBSWRESAMPLE_VERSION_MAJOR, swr_alloc_set_opts2, Table)                                 \
    USE(swresample, LIBSWRESAMPLE_VERSION_MAJOR, swr_convert, Table)                                         \
    USE(swresample, LIBSWRESAMPLE_VERSION_MAJOR, swr_free, Table)                                            \
    USE(swresample, LIBSWRESAMPLE_VERSION_MAJOR, swr_get_out_samples, Table)                                 \
    USE(swresample, LIBSWRESAMPLE_VERSION_MAJOR, swr_init, Table)                                            \
    USE(swresample, LIBSWRESAMPLE_VERSION_MAJOR, swr_set_matrix, Table)
// clang-format on

namespace teskal {

struct LazyFfmpeg {
    TESKAL_FFMPEG_FUNCTIONS(TESKAL_LAZY_MEMBER, LazyFfmpeg)

    /// Loads it the first time.
    static const LazyFfmpeg& get() {
        static const LazyFfmpeg loaded;
        return loaded;
    }
    /// Whether FFmpeg can be used; nothing of it may be called otherwise.
    static bool isThere() { return get().isComplete(); }

private:
    bool isComplete() const { return true TESKAL_FFMPEG_FUNCTIONS(TESKAL_LAZY_IS_THERE, LazyFfmpeg); }
};

TESKAL_FFMPEG_FUNCTIONS(TESKAL_LAZY_CALL, LazyFfmpeg)

} // namespace teskal
