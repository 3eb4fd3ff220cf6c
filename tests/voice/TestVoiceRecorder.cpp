#include "Cancelled.h"
#include "FakeAudioInput.h"
#include "FileError.h"
#include "ManualClock.h"
#include "Pending.h"
#include "VoiceFailure.h"
#include "VoiceRecorder.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <cmath>

#include <sys/stat.h>
#include <unistd.h>

using namespace teskal;
using namespace teskal::test;
using namespace std::chrono_literals;
using State = VoiceRecorder::State;

namespace {

/// A recorder on a clock that stands still.
struct Scene {
    QTemporaryDir folder;
    QString path = folder.filePath(QStringLiteral("private/teskal-voice.m4a"));
    FakeAudioInput input;
    ManualClock clock;
    std::unique_ptr<VoiceRecorder> recorder;

    Scene() { make(folder.filePath(QStringLiteral("private"))); }
    void make(const QString& recordings) {
        recorder = std::make_unique<VoiceRecorder>(&input, recordings, clock);
    }
    Pending<void> begin() {
        return start([this](std::stop_token stop) { return recorder->start(std::move(stop)); });
    }
    /// The text of the failure; empty for none.
    QString record() {
        auto starting = begin();
        const auto failure = starting.error<VoiceFailure>();
        return failure ? failure->text() : QString();
    }
    /// Sound, and the time that it takes.
    void pass(std::chrono::milliseconds time, float amplitude = 0.5F) {
        for (; time > 0ms; time -= 100ms) {
            const auto step = std::min(time, std::chrono::milliseconds(100));
            input.hear(int(step.count()), amplitude);
            clock.advance(step);
        }
    }
    /// The kept bytes; none when nothing is kept.
    std::optional<QByteArray> keep() {
        const auto bytes = recorder->stop(true);
        if (!bytes)
            return std::nullopt;
        return waitFor([&](std::stop_token stop) { return wait(*bytes, std::move(stop)); });
    }
    bool isFileThere() const { return QFileInfo::exists(path); }

private:
    static QCoro::Task<QByteArray> wait(Completion<QByteArray> bytes, std::stop_token stop) {
        const QByteArray result = co_await bytes.wait(stop);
        co_return result;
    }
};

const QString denied = QStringLiteral("Teskal needs microphone access. Turn it on in System Settings → "
                                      "Privacy & Security → Microphone.");
const QString couldNotStart = QStringLiteral("Couldn’t start recording.");

} // namespace

/// From the microphone to the file, and every way in which it ends.
class TestVoiceRecorder final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void starting_data();
    void starting();
    void meters();
    void keepsWhatWasSaid();
    void slip_data();
    void slip();
    void fiveMinutes();
    void deviceVanishes();
    void nothingHeard();
    void finishedWhileAsked();
    void finishedByWhoIsTold_data();
    void finishedByWhoIsTold();
    void fileIsPrivate();
    void fileGoes_data();
    void fileGoes();
};

void TestVoiceRecorder::starting_data() {
    QTest::addColumn<QString>("trouble");
    QTest::addColumn<State>("state");
    QTest::addColumn<QString>("text");
    QTest::newRow("granted") << "" << State::Recording << QString();
    QTest::newRow("refused") << "refused" << State::Denied << denied;
    QTest::newRow("no device") << "no device" << State::CouldNotStart << couldNotStart;
    QTest::newRow("no folder") << "no folder" << State::CouldNotStart << couldNotStart;
    QTest::newRow("somebody else's folder") << "foreign" << State::CouldNotStart << couldNotStart;
    QTest::newRow("folder elsewhere") << "link" << State::CouldNotStart << couldNotStart;
    QTest::newRow("no input at all") << "no input" << State::CouldNotStart << couldNotStart;
}

void TestVoiceRecorder::starting() {
    QFETCH(const QString, trouble);
    Scene scene;
    if (trouble == QLatin1String("refused")) {
        scene.input.access = FakeAudioInput::Access::Refused;
    } else if (trouble == QLatin1String("no device")) {
        scene.input.opens = false;
    } else if (trouble == QLatin1String("no folder")) {
        scene.make(QStringLiteral("/dev/null/private"));
    } else if (trouble == QLatin1String("foreign")) {
        if (geteuid() == 0)
            QVERIFY(chown(QFile::encodeName(scene.folder.path()).constData(), 12345, 12345) == 0);
        scene.make(geteuid() == 0 ? scene.folder.path() : QStringLiteral("/tmp"));
    } else if (trouble == QLatin1String("link")) {
        const QString link = scene.folder.filePath(QStringLiteral("link"));
        QVERIFY(QFile::link(QDir::tempPath(), link));
        scene.make(link);
    } else if (trouble == QLatin1String("no input")) {
        scene.recorder = std::make_unique<VoiceRecorder>(nullptr, scene.folder.path(), scene.clock);
    }
    for (int times = 0; times < 2; ++times) { // a refusal is not for ever
        QTEST(scene.record(), "text");
        QTEST(scene.recorder->state(), "state");
        QCOMPARE(scene.input.isListening, trouble.isEmpty());
        QCOMPARE(scene.isFileThere(), trouble.isEmpty());
        if (trouble.isEmpty())
            scene.recorder->finished();
    }
}

void TestVoiceRecorder::meters() {
    Scene scene;
    QCOMPARE(scene.record(), QString());
    QSignalSpy elapsed(scene.recorder.get(), &VoiceRecorder::elapsedChanged);
    QSignalSpy level(scene.recorder.get(), &VoiceRecorder::levelChanged);
    scene.input.hear(100, 0.1F);
    scene.clock.advance(99ms);
    QCOMPARE(elapsed.size(), 0);
    scene.clock.advance(1ms);
    QCOMPARE(elapsed.size(), 1);
    QCOMPARE(scene.recorder->elapsed(), 0.1);
    // A tone's mean is 3 dB below its peak: -23 dB of 50.
    QVERIFY(std::abs(scene.recorder->level() - 0.54F) < 0.005F);
    scene.clock.advance(100ms); // the device delivers late
    QVERIFY(scene.recorder->level() > 0);
    scene.pass(1s, 0);
    QCOMPARE(scene.recorder->level(), 0.0F);
    QCOMPARE(scene.recorder->elapsed(), 1.2);
    QCOMPARE(level.size(), 2);
    scene.pass(100ms, 1);
    scene.recorder->stop(false);
    QCOMPARE(scene.recorder->level(), 0.0F);
    QCOMPARE(scene.recorder->elapsed(), 1.3);
    scene.recorder->finished();
    QCOMPARE(scene.clock.pending(), size_t(0));
    scene.record();
    QCOMPARE(scene.recorder->elapsed(), 0.0);
}

void TestVoiceRecorder::keepsWhatWasSaid() {
    Scene scene;
    for (const int ms : {400, 2350}) { // one after the other in the same file
        QCOMPARE(scene.record(), QString());
        scene.pass(std::chrono::milliseconds(ms));
        const auto bytes = scene.keep();
        QVERIFY(bytes);
        QVERIFY(!scene.input.isListening);
        scene.recorder->transcribing();
        QCOMPARE(scene.recorder->state(), State::Transcribing);
        const Sound sound = readSound(*bytes);
        QCOMPARE(sound.format, QStringLiteral("m4a aac 44100 1"));
        QVERIFY2(std::abs(sound.durationMs - ms) < 50, qPrintable(QString::number(sound.durationMs)));
        scene.recorder->finished();
        QCOMPARE(scene.recorder->state(), State::Idle);
        QVERIFY(!scene.isFileThere());
    }
}

void TestVoiceRecorder::slip_data() {
    QTest::addColumn<int>("ms");
    QTest::addColumn<bool>("isKept");
    QTest::newRow("at once") << 0 << false;
    QTest::newRow("0.3 s") << 300 << false;
    QTest::newRow("a moment longer") << 301 << true;
}

void TestVoiceRecorder::slip() {
    QFETCH(const int, ms);
    Scene scene;
    QCOMPARE(scene.record(), QString());
    scene.pass(std::chrono::milliseconds(ms));
    QTEST(scene.keep().has_value(), "isKept");
    QVERIFY(!scene.recorder->stop(true));
}

void TestVoiceRecorder::fiveMinutes() {
    Scene scene;
    QCOMPARE(scene.record(), QString());
    scene.pass(299'900ms, 0);
    QVERIFY(scene.input.isListening);
    scene.input.hear(2000); // more than there is room for
    scene.clock.advance(100ms);
    QVERIFY(!scene.input.isListening);
    scene.pass(10s);
    QCOMPARE(scene.recorder->elapsed(), 300.0);
    QCOMPARE(scene.recorder->level(), 0.0F);
    QCOMPARE(scene.recorder->state(), State::Recording); // until the user uses or cancels it
    QCOMPARE(scene.clock.pending(), size_t(0));
    const Sound sound = readSound(scene.keep().value_or(QByteArray()));
    QVERIFY2(std::abs(sound.durationMs - 300'000) < 50, qPrintable(QString::number(sound.durationMs)));
}

void TestVoiceRecorder::deviceVanishes() {
    Scene scene;
    QCOMPARE(scene.record(), QString());
    scene.pass(1500ms);
    scene.clock.advance(20ms);
    scene.input.vanish();
    QCOMPARE(scene.recorder->elapsed(), 1.52);
    QCOMPARE(scene.recorder->level(), 0.0F);
    scene.pass(5s);
    QCOMPARE(scene.recorder->elapsed(), 1.52);
    QCOMPARE(scene.recorder->state(), State::Recording);
    const Sound sound = readSound(scene.keep().value_or(QByteArray()));
    QVERIFY2(std::abs(sound.durationMs - 1500) < 50, qPrintable(QString::number(sound.durationMs)));
}

void TestVoiceRecorder::nothingHeard() {
    Scene scene;
    QCOMPARE(scene.record(), QString());
    scene.clock.advance(1s);
    QVERIFY_THROWS_EXCEPTION(FileError, scene.keep());
    scene.recorder->finished();
    QVERIFY(!scene.isFileThere());
}

void TestVoiceRecorder::finishedWhileAsked() {
    Scene scene;
    scene.input.access = FakeAudioInput::Access::Asked;
    auto starting = scene.begin();
    scene.recorder->finished();
    scene.input.question->succeed(true);
    QVERIFY(starting.error<Cancelled>());
    QCOMPARE(scene.recorder->state(), State::Idle);
    QVERIFY(!scene.input.isListening);
}

void TestVoiceRecorder::finishedByWhoIsTold_data() {
    QTest::addColumn<bool>("byLevel");
    QTest::newRow("of the time") << false;
    QTest::newRow("of the level") << true;
}

void TestVoiceRecorder::finishedByWhoIsTold() {
    QFETCH(const bool, byLevel);
    Scene scene;
    QCOMPARE(scene.record(), QString());
    const auto told = byLevel ? &VoiceRecorder::levelChanged : &VoiceRecorder::elapsedChanged;
    connect(scene.recorder.get(), told, this, [&] { scene.recorder->finished(); });
    scene.pass(300ms);
    QVERIFY(!scene.input.isListening);
    QVERIFY(scene.recorder->state() == State::Idle);
    QCOMPARE(scene.recorder->elapsed(), 0.1);
    QVERIFY(!scene.isFileThere());
}

void TestVoiceRecorder::fileIsPrivate() {
    Scene scene;
    const QString folder = QFileInfo(scene.path).path();
    QVERIFY(QDir().mkdir(folder));
    QVERIFY(QFile::setPermissions(folder, QFile::Permissions::fromInt(0x7777))); // as a careless hand left it
    QCOMPARE(scene.record(), QString());
    QVERIFY(scene.isFileThere());
    struct stat status {};
    QVERIFY(stat(QFile::encodeName(folder).constData(), &status) == 0);
    QCOMPARE(status.st_mode & 07777, mode_t(0700));
}

void TestVoiceRecorder::fileGoes_data() {
    QTest::addColumn<QString>("ending");
    for (const char* ending : {"quit while recording", "quit while finishing", "crash", "next start fails"})
        QTest::newRow(ending) << QString::fromLatin1(ending);
}

void TestVoiceRecorder::fileGoes() {
    QFETCH(const QString, ending);
    Scene scene;
    QCOMPARE(scene.record(), QString());
    QVERIFY(scene.isFileThere());
    scene.pass(1s);
    if (ending == QLatin1String("quit while finishing"))
        scene.recorder->stop(true);
    scene.recorder.reset();
    QVERIFY(!scene.input.isListening);
    QFile left(scene.path);
    if (ending == QLatin1String("crash") || ending == QLatin1String("next start fails")) {
        QVERIFY(left.open(QFile::WriteOnly));
        left.close();
        scene.make(QFileInfo(scene.path).path());
    }
    if (ending == QLatin1String("next start fails")) {
        QVERIFY(left.open(QFile::WriteOnly));
        scene.input.access = FakeAudioInput::Access::Refused;
        QCOMPARE(scene.record(), denied);
    }
    QVERIFY(!scene.isFileThere());
    runQueued();
    QVERIFY(!scene.isFileThere());
}

QTEST_GUILESS_MAIN(TestVoiceRecorder)
#include "TestVoiceRecorder.moc"
