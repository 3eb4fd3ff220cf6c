#include "AudioInput.h"
#include "Columns.h"
#include "Loudness.h"
#include "SampleConverter.h"

#include <QAudioFormat>

#include <cmath>
#include <numbers>

using namespace teskal::test;

namespace {

/// A second of a tone at half the full swing, on all channels.
QByteArray second(const QAudioFormat& format) {
    QByteArray bytes;
    const auto append = [&](auto sample) {
        bytes.append(reinterpret_cast<const char*>(&sample), sizeof sample);
    };
    for (int i = 0; i < format.sampleRate(); ++i) {
        const double value = 0.5 * std::sin(2 * std::numbers::pi * 440 * i / format.sampleRate());
        for (int channel = 0; channel < format.channelCount(); ++channel) {
            switch (format.sampleFormat()) {
            case QAudioFormat::UInt8:
                append(quint8(std::lround(128 + value * 127)));
                break;
            case QAudioFormat::Int16:
                append(qint16(std::lround(value * 32767)));
                break;
            case QAudioFormat::Int32:
                append(qint32(std::lround(value * 2147483647.0)));
                break;
            default:
                append(float(value));
            }
        }
    }
    return bytes;
}

} // namespace

/// Whatever a device delivers, one channel at one rate comes out.
class TestSampleConverter final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void converts_data() {
        // No digits are parted: the meta-object compiler takes an odd number of quotes amiss.
        const auto row = columns<QAudioFormat::SampleFormat, int, int>("sampleFormat", "rate", "channels");
        row("as wanted", QAudioFormat::Float, 44100, 1);
        row("a usual card", QAudioFormat::Int16, 48000, 2);
        row("a headset", QAudioFormat::Int16, 8000, 1);
        row("an array of microphones", QAudioFormat::Int32, 96000, 4);
        row("an old card", QAudioFormat::UInt8, 22050, 1);
    }

    void converts() {
        FETCH(QAudioFormat::SampleFormat, sampleFormat, int, rate, int, channels);
        QAudioFormat format;
        format.setSampleFormat(sampleFormat);
        format.setSampleRate(rate);
        format.setChannelCount(channels);
        SampleConverter converter(format);
        QVERIFY(converter.isValid());
        const QByteArray bytes = second(format);
        QList<float> samples;
        constexpr int piece = 1001; // no whole number of samples
        for (qsizetype at = 0; at < bytes.size(); at += piece)
            samples += converter.convert(bytes.mid(at, piece));
        // What the change of the rate looks ahead to stays behind.
        QVERIFY2(std::abs(samples.size() - AudioInput::sampleRate) < AudioInput::sampleRate / 100,
                 qPrintable(QString::number(samples.size())));
        const double expected = 20 * std::log10(0.5 / std::numbers::sqrt2);
        QVERIFY2(std::abs(decibels(samples) - expected) < 0.5,
                 qPrintable(QString::number(decibels(samples))));
    }
};

QTEST_GUILESS_MAIN(TestSampleConverter)
#include "TestSampleConverter.moc"
