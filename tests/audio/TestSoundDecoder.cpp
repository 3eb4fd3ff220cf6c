#include "AacFile.h"
#include "Columns.h"
#include "Loudness.h"
#include "Sound.h"
#include "SoundDecoder.h"
#include "TestFiles.h"

#include <cmath>

using namespace teskal::test;

namespace {

QAudioFormat formatOf(int rate, int channels, QAudioFormat::SampleFormat samples) {
    QAudioFormat format;
    format.setSampleRate(rate);
    format.setChannelCount(channels);
    format.setSampleFormat(samples);
    return format;
}

QByteArray decoded(const QByteArray& file, const QAudioFormat& format) {
    SoundDecoder decoder(file);
    QByteArray all;
    for (QByteArray piece = decoder.next(format); !piece.isEmpty(); piece = decoder.next(format))
        all += piece;
    return all;
}

QByteArray m4aFile(int ms) {
    QTemporaryDir folder;
    const QString path = folder.filePath(u"tone.m4a"_qs);
    AacFile sound(path);
    sound.write(tone(ms, 0.5F));
    sound.finish();
    return contentOf(path);
}

} // namespace

class TestSoundDecoder final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void decodesTheWholeSound_data() {
        const auto row = columns<QByteArray, QAudioFormat>("file", "format");
        const QByteArray wav = wavFile(tone(1000, 0.5F));
        row("as it is", wav, formatOf(44100, 1, QAudioFormat::Float));
        row("another rate, two channels", wav, formatOf(48000, 2, QAudioFormat::Float));
        row("compressed, fewer samples", m4aFile(1000), formatOf(16000, 1, QAudioFormat::Float));
    }

    void decodesTheWholeSound() {
        FETCH(QByteArray, file, QAudioFormat, format);
        const QAudioFormat made = SoundDecoder(file).format();
        QCOMPARE(made, formatOf(44100, 1, QAudioFormat::Float));
        const QByteArray bytes = decoded(file, format);
        QCOMPARE(bytes.size() % format.bytesPerFrame(), 0);
        const double ms = double(format.durationForBytes(int(bytes.size()))) / 1000;
        QVERIFY2(std::abs(ms - 1000) < 30, qPrintable(QString::number(ms)));
        const auto* samples = reinterpret_cast<const float*>(bytes.constData());
        const QList<float> all(samples, samples + bytes.size() / qsizetype(sizeof(float)));
        // A tone's mean is 3 dB below its peak, and one channel is played on two, each 3 dB lower.
        const double expected = 20 * std::log10(0.5) - (format.channelCount() == 1 ? 3 : 6);
        const double loud = decibels(all.mid(all.size() / 4, all.size() / 2));
        QVERIFY2(std::abs(loud - expected) < 0.5, qPrintable(QString::number(loud)));
    }

    void whateverTheBytesAre_data() {
        rows<QByteArray>("file", {{"nothing", QByteArray()},
                                  {"text", QByteArray("No sound at all. ").repeated(100)},
                                  {"wav", wavFile(tone(50, 0.5F))},
                                  {"m4a", m4aFile(100)}});
    }

    /// Cut off and damaged anywhere, a sound ends; it never takes longer than the whole or more memory.
    void whateverTheBytesAre() {
        QFETCH(const QByteArray, file);
        const QAudioFormat format = formatOf(44100, 2, QAudioFormat::Int16);
        const qsizetype whole = decoded(file, format).size();
        for (qsizetype at = 0; at < file.size(); at += 1 + file.size() / 97) {
            QVERIFY(decoded(file.first(at), format).size() <= whole);
            QByteArray damaged = file;
            damaged[at] = char(~damaged[at]);
            QVERIFY(decoded(damaged, format).size() <= 10 * whole);
        }
    }

    void opensNoOtherFile() {
        QTemporaryDir folder;
        writeFile(folder.filePath(u"other.wav"_qs), wavFile(tone(500, 0.5F)));
        const QString before = QDir::currentPath();
        QDir::setCurrent(folder.path());
        const SoundDecoder list("ffconcat version 1.0\nfile other.wav\n");
        QDir::setCurrent(before);
        QVERIFY(!list.format().isValid());
    }
};

QTEST_GUILESS_MAIN(TestSoundDecoder)
#include "TestSoundDecoder.moc"
