#include "AacFile.h"
#include "Columns.h"
#include "Loudness.h"
#include "MediaAudioInput.h"
#include "MediaAudioPlayer.h"
#include "PulseServer.h"
#include "Sound.h"

#include <algorithm>
#include <complex>

using namespace teskal::test;

namespace {

/// The part of \a samples that is the tone of \a hertz, as an amplitude (Goertzel's algorithm).
double amplitudeOf(const QList<float>& samples, double hertz) {
    const double step = 2 * M_PI * hertz / AudioInput::sampleRate;
    std::complex<double> sum;
    for (qsizetype i = 0; i < samples.size(); ++i)
        sum += double(samples[i]) * std::polar(1.0, step * double(i));
    return 2 * std::abs(sum) / double(samples.size());
}

/// A player, and what it says.
struct Loudspeaker {
    Loudspeaker() {
        QObject::connect(&player, &AudioPlayer::failed, &player, [this] { said.append(u"failed"_qs); });
        QObject::connect(&player, &AudioPlayer::finished, &player, [this] { said.append(u"finished"_qs); });
    }
    MediaAudioPlayer player;
    QStringList said;
};

} // namespace

/// A real sound server: what is played is heard, recorded, and found in the file; then the server dies.
class TestMediaDevices final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() {
        if (!server_.isRunning())
            QSKIP("PulseAudio cannot be started here");
    }

    void recordsWhatIsPlayed() {
        MediaAudioInput input;
        QList<float> heard;
        connect(&input, &AudioInput::heard, &input, [&](const QList<float>& samples) { heard += samples; });
        QVERIFY(input.start());
        QVERIFY(waitUntil([&] { return !heard.isEmpty(); })); // the server wakes slowly
        heard.clear();
        Loudspeaker speaker;
        QElapsedTimer timer;
        timer.start();
        speaker.player.play(wavFile(tone(1500, 0.5F, 1000)));
        QVERIFY(waitUntil([&] { return speaker.said == QStringList{u"finished"_qs}; }));
        const qsizetype enough = heard.size() + AudioInput::sampleRate / 2; // the microphone hears later
        QVERIFY(waitUntil([&] { return heard.size() > enough; }));
        input.stop();
        const qint64 took = timer.elapsed();

        QTemporaryDir folder;
        const QString path = folder.filePath(u"heard.m4a"_qs);
        AacFile file(path);
        file.write(heard);
        file.finish();
        const Sound sound = readSound(path);
        QCOMPARE(sound.format, u"m4a aac 44100 1"_qs);
        const double heardMs = double(heard.size()) * 1000 / AudioInput::sampleRate;
        QVERIFY2(std::abs(sound.durationMs - heardMs) < 50, qPrintable(QString::number(sound.durationMs)));
        QVERIFY2(std::abs(heardMs - double(took)) < 500, qPrintable(QString::number(heardMs)));
        // Half a second out of the middle of the tone, wherever it began.
        double loudest = 0;
        for (qsizetype at = 0; at + 22050 <= sound.samples.size(); at += 4410)
            loudest = std::max(loudest, amplitudeOf(sound.samples.mid(at, 22050), 1000));
        QVERIFY2(std::abs(loudest - 0.5) < 0.05, qPrintable(QString::number(loudest)));
        const auto isLoud = [](float sample) { return std::abs(sample) > 0.25F; };
        const auto loudMs = double(std::count_if(heard.begin(), heard.end(), isLoud)) * 1000 /
                            AudioInput::sampleRate * 3 / 2; // a sine is above half of its height that long
        QVERIFY2(std::abs(loudMs - 1500) < 60, qPrintable(QString::number(loudMs)));
    }

    void whatIsNoSoundFails_data() {
        rows<QByteArray>("audio", {{"empty", QByteArray()},
                                   {"text", QByteArray(1000, 'x')},
                                   {"a header alone", wavFile({}).first(20)}});
    }

    void whatIsNoSoundFails() {
        QFETCH(const QByteArray, audio);
        Loudspeaker speaker;
        speaker.player.play(audio);
        QVERIFY(waitUntil([&] { return !speaker.said.isEmpty(); }));
        runQueued();
        QCOMPARE(speaker.said, QStringList{u"failed"_qs});
    }

    void nothingIsHeardAfterStop() {
        MediaAudioInput input;
        QSignalSpy heard(&input, &AudioInput::heard);
        QVERIFY(input.start());
        QVERIFY(waitUntil([&] { return !heard.isEmpty(); }));
        input.stop();
        input.stop();
        heard.clear();
        QVERIFY(input.start()); // at once, while the first is still being closed
        QVERIFY(waitUntil([&] { return !heard.isEmpty(); }));
        input.stop();
        heard.clear();
        runQueued();
        QCOMPARE(heard.size(), 0);
    }

    void nothingIsSaidAfterStop() {
        Loudspeaker speaker;
        const QByteArray minute = wavFile(tone(60000, 0.5F));
        speaker.player.play(minute);
        speaker.player.play(minute); // instead of the first
        speaker.player.stop();
        speaker.player.stop();
        {
            MediaAudioPlayer gone;
            gone.play(minute);
        }
        runQueued();
        QCOMPARE(speaker.said, QStringList());
    }

    void serverDies() {
        MediaAudioInput input;
        QSignalSpy heard(&input, &AudioInput::heard);
        QSignalSpy lost(&input, &AudioInput::lost);
        QVERIFY(input.start());
        Loudspeaker speaker;
        speaker.player.play(wavFile(tone(60000, 0.5F, 1000)));
        QVERIFY(waitUntil([&] { return heard.size() > 20; }));
        QCOMPARE(speaker.said, QStringList());
        server_.stop();
        QVERIFY(waitUntil([&] { return !lost.isEmpty() && !speaker.said.isEmpty(); }));
        heard.clear();
        runQueued();
        QCOMPARE(heard.size(), 0);
        QCOMPARE(lost.size(), 1);
        QCOMPARE(speaker.said, QStringList{u"finished"_qs});
    }

    void noDevice() {
        MediaAudioInput input;
        QVERIFY(!input.start());
        Loudspeaker speaker;
        speaker.player.play(wavFile(tone(100, 0.5F)));
        QVERIFY(waitUntil([&] { return !speaker.said.isEmpty(); }));
        QCOMPARE(speaker.said, QStringList{u"failed"_qs});
    }

private:
    PulseServer server_;
};

int main(int argc, char** argv) {
    qputenv("QT_MEDIA_BACKEND", "ffmpeg");
    const QCoreApplication application(argc, argv);
    TestMediaDevices test;
    return QTest::qExec(&test, argc, argv);
}

#include "TestMediaDevices.moc"
