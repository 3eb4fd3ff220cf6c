#include "MediaAudioPlayer.h"
#include "WaitUntil.h"

#include <QAudioDevice>
#include <QCoreApplication>
#include <QMediaDevices>
#include <QTest>
#include <QtEndian>

using namespace teskal;
using namespace teskal::test;

namespace {

/// Silence of \a ms as a WAV file: 8 kHz, 8 bits, one channel.
QByteArray silence(int ms) {
    constexpr int rate = 8000;
    const QByteArray samples(rate * ms / 1000, '\x80');
    const auto number = [](auto value) {
        value = qToLittleEndian(value);
        return QByteArray(reinterpret_cast<const char*>(&value), sizeof value);
    };
    const QByteArray format = number(quint16(1)) + number(quint16(1)) + number(quint32(rate)) +
                              number(quint32(rate)) + number(quint16(1)) + number(quint16(8));
    return "RIFF" + number(quint32(36 + samples.size())) + "WAVEfmt " + number(quint32(format.size())) +
           format + "data" + number(quint32(samples.size())) + samples;
}

/// A player and what it said.
struct Scene {
    MediaAudioPlayer player;
    QStringList said;

    Scene() {
        QObject::connect(&player, &AudioPlayer::failed, &player,
                         [this] { said.append(QStringLiteral("failed")); });
        QObject::connect(&player, &AudioPlayer::finished, &player,
                         [this] { said.append(QStringLiteral("finished")); });
    }
    bool hasSpoken() const { return !said.isEmpty(); }
};

} // namespace

/// Whatever is to be played, and whether or not there is a device: playing ends, and is told once.
class TestMediaAudioPlayer final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void whatIsNoSoundFails_data();
    void whatIsNoSoundFails();
    void soundIsPlayedOrRefused();
    void nothingIsSaidAfterStop();
};

void TestMediaAudioPlayer::whatIsNoSoundFails_data() {
    QTest::addColumn<QByteArray>("audio");
    QTest::newRow("empty") << QByteArray();
    QTest::newRow("text") << QByteArray(1000, 'x');
    QTest::newRow("a header alone") << silence(0).first(20);
}

void TestMediaAudioPlayer::whatIsNoSoundFails() {
    QFETCH(const QByteArray, audio);
    Scene scene;
    scene.player.play(audio);
    QVERIFY(waitUntil([&] { return scene.hasSpoken(); }));
    runQueued();
    QCOMPARE(scene.said, QStringList{QStringLiteral("failed")});
}

void TestMediaAudioPlayer::soundIsPlayedOrRefused() {
    Scene scene;
    const bool canPlay = !QMediaDevices::defaultAudioOutput().isNull();
    for (int times = 0; times < 2; ++times) {
        scene.said.clear();
        scene.player.play(silence(200));
        QVERIFY(waitUntil([&] { return scene.hasSpoken(); }));
        runQueued();
        QCOMPARE(scene.said, QStringList{canPlay ? QStringLiteral("finished") : QStringLiteral("failed")});
    }
}

void TestMediaAudioPlayer::nothingIsSaidAfterStop() {
    Scene scene;
    scene.player.play(silence(60000));
    scene.said.clear(); // without a device it has failed already
    scene.player.stop();
    scene.player.stop();
    runQueued();
    QCOMPARE(scene.said, QStringList());
    {
        Scene gone;
        gone.player.play(silence(60000));
    }
    runQueued();
}

int main(int argc, char** argv) {
    if (!qEnvironmentVariableIsSet("QT_MEDIA_BACKEND"))
        qputenv("QT_MEDIA_BACKEND", "ffmpeg");
    const QCoreApplication application(argc, argv);
    TestMediaAudioPlayer test;
    return QTest::qExec(&test, argc, argv);
}

#include "TestMediaAudioPlayer.moc"
