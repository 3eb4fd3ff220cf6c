#include "AacFile.h"
#include "AudioInput.h"
#include "Columns.h"
#include "Loudness.h"
#include "Sound.h"

#include <cmath>
#include <limits>

using namespace teskal::test;

/// What is written is what a player finds in the file.
class TestAacFile final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void holdsWhatWasWritten_data() {
        const auto row = columns<int, int>("ms", "pieceSize"); // samples at a time
        row("less than a frame", 20, 4410);
        row("just long enough", 310, 441);
        row("whole frames", 1000, 1024);
        row("pieces of three frames and a bit", 2345, 3100);
        row("one piece", 7000, 1'000'000);
        row("the longest recording", 300'000, 44100);
    }

    void holdsWhatWasWritten() {
        FETCH(int, ms, int, pieceSize);
        const QList<float> said = tone(ms, 0.5F);
        {
            AacFile file(path_);
            for (qsizetype at = 0; at < said.size(); at += pieceSize)
                file.write(said.mid(at, pieceSize));
            const qint64 sizeBefore = QFileInfo(path_).size();
            file.finish();
            QVERIFY(QFileInfo(path_).size() < qint64(ms) * 15 + 10'000);
            QVERIFY2(ms < 60'000 || sizeBefore > QFileInfo(path_).size() * 9 / 10,
                     "it is written as it comes");
        }
        const Sound sound = readSound(path_);
        QCOMPARE(sound.format, u"m4a aac 44100 1"_qs);
        QVERIFY2(std::abs(sound.durationMs - ms) < 50, qPrintable(QString::number(sound.durationMs)));
        if (ms < 300)
            return; // the encoder's beginning is most of it
        const QList<float> middle = sound.samples.mid(sound.samples.size() / 4, sound.samples.size() / 2);
        QVERIFY2(std::abs(decibels(middle) - decibels(said)) < 1,
                 qPrintable(QString::number(decibels(middle))));
    }

    void failures_data() {
        rows<QString>("path", {{"no such folder", folder_.filePath(u"none/voice.m4a"_qs)},
                               {"a folder", folder_.path()},
                               {"full disk", u"/dev/full"_qs}});
    }

    void failures() {
        QFETCH(const QString, path);
        const auto write = [&] {
            AacFile file(path);
            file.write(tone(3000, 0.5F));
            file.finish();
        };
        QVERIFY_THROWS_EXCEPTION(FileError, write());
    }

    void loudness_data() {
        const auto row = columns<QList<float>, double, float>("samples", "loudness", "level");
        constexpr double silence = -std::numeric_limits<double>::infinity();
        row("nothing", QList<float>(), silence, 0.0F);
        row("silence", QList<float>(100), silence, 0.0F);
        row("full", QList<float>{1, -1, 1, -1}, 0.0, 1.0F);
        row("beyond full", QList<float>{2, -2}, 6.02, 1.0F);
        row("a tenth", QList<float>(100, 0.1F), -20.0, 0.6F);
        row("full tone", tone(1000, 1), -3.01, 0.94F);
        row("whisper", QList<float>(100, 0.001F), -60.0, 0.0F);
    }

    void loudness() {
        FETCH(QList<float>, samples, double, loudness, float, level);
        const double heard = decibels(samples);
        QVERIFY(heard == loudness || std::abs(heard - loudness) < 0.01);
        QVERIFY(std::abs(meterLevel(heard) - level) < 0.001F);
    }

private:
    QTemporaryDir folder_;
    QString path_ = folder_.filePath(u"with: colon.m4a"_qs);
};

QTEST_GUILESS_MAIN(TestAacFile)
#include "TestAacFile.moc"
