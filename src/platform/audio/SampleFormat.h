#pragma once

#include <QAudioFormat>

extern "C" {
#include <libavutil/samplefmt.h>
}

namespace teskal {

/// The libraries' name for interleaved samples of \a format; AV_SAMPLE_FMT_NONE when they have none.
AVSampleFormat sampleFormat(QAudioFormat::SampleFormat format);

} // namespace teskal
