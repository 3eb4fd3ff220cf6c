#include "Cancelled.h"
#include "Columns.h"
#include "FakeAudioInput.h"
#include "FileError.h"
#include "ManualClock.h"
#include "Pending.h"
#include "VoiceFailure.h"
#include "VoiceRecorder.h"

#include <cmath>

#include <sys/stat.h>
#include <unistd.h>

using namespace teskal::test;
using namespace std::chrono_literals;
using State = VoiceRecorder::State;

namespace {

/// A recorder on a clock that stands still.
struct Scene {
    QTemporaryDir folder;
    QString path = folder.filePath(u"private/teskal-voice.m4a"_qs);
    FakeAudioInput input;
    ManualClock clock;
    std::unique_ptr<VoiceRecorder> recorder;

    Scene() { make(folder.filePath(u"private"_qs)); }
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

/// And it records.
struct Recording : Scene {
    Recording() {
        if (!record().isEmpty())
            qFatal("nothing is recorded");
    }
};

bool lasts(const Sound& sound, double ms) {
    return std::abs(sound.durationMs - ms) < 50;
}

} // namespace

/// From the microphone to the file, and every way in which it ends.
class TestVoiceRecorder final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void starting_data() {
        rowsOf("trouble", {"none", "no folder", "somebody else's folder", "folder elsewhere", "no input"});
    }

    void starting() {
        QFETCH(const QString, trouble);
        Scene scene;
        if (trouble == u"no folder") {
            scene.make(u"/dev/null/private"_qs);
        } else if (trouble.startsWith(u"somebody")) {
            if (geteuid() == 0)
                QVERIFY(chown(QFile::encodeName(scene.folder.path()).constData(), 12345, 12345) == 0);
            scene.make(geteuid() == 0 ? scene.folder.path() : u"/tmp"_qs);
        } else if (trouble == u"folder elsewhere") {
            const QString link = scene.folder.filePath(u"link"_qs);
            QVERIFY(QFile::link(QDir::tempPath(), link));
            scene.make(link);
        } else if (trouble == u"no input") {
            scene.recorder = std::make_unique<VoiceRecorder>(nullptr, scene.folder.path(), scene.clock);
        }
        const bool isFine = trouble == u"none";
        for (int times = 0; times < 2; ++times) { // no failure is for ever
            QCOMPARE(scene.record(), isFine ? QString() : u"Couldn’t start recording."_qs);
            QCOMPARE(scene.recorder->state(), isFine ? State::Recording : State::CouldNotStart);
            QCOMPARE(scene.input.isListening, isFine);
            QCOMPARE(scene.isFileThere(), isFine);
            if (isFine)
                scene.recorder->finished();
        }
    }

    void meters() {
        Recording scene;
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

    void keepsWhatWasSaid() {
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
            QCOMPARE(sound.format, u"m4a aac 44100 1"_qs);
            QVERIFY2(lasts(sound, ms), qPrintable(QString::number(sound.durationMs)));
            scene.recorder->finished();
            QCOMPARE(scene.recorder->state(), State::Idle);
            QVERIFY(!scene.isFileThere());
        }
    }

    void slip_data() {
        const auto row = columns<int, bool>("ms", "isKept");
        row("at once", 0, false);
        row("0.3 s", 300, false);
        row("a moment longer", 301, true);
    }

    void slip() {
        QFETCH(const int, ms);
        Recording scene;
        scene.pass(std::chrono::milliseconds(ms));
        QTEST(scene.keep().has_value(), "isKept");
        QVERIFY(!scene.recorder->stop(true));
    }

    void fiveMinutes() {
        Recording scene;
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
        QVERIFY(lasts(readSound(scene.keep().value()), 300'000));
    }

    void deviceVanishes() {
        Recording scene;
        scene.pass(1500ms);
        scene.clock.advance(20ms);
        scene.input.vanish();
        QCOMPARE(scene.recorder->elapsed(), 1.52);
        QCOMPARE(scene.recorder->level(), 0.0F);
        scene.pass(5s);
        QCOMPARE(scene.recorder->elapsed(), 1.52);
        QCOMPARE(scene.recorder->state(), State::Recording);
        QVERIFY(lasts(readSound(scene.keep().value()), 1500));
    }

    void nothingHeard() {
        Recording scene;
        scene.clock.advance(1s);
        QVERIFY_THROWS_EXCEPTION(FileError, scene.keep());
        scene.recorder->finished();
        QVERIFY(!scene.isFileThere());
    }

    void finishedWhileAsked() {
        Scene scene;
        scene.input.access = FakeAudioInput::Access::Asked;
        auto starting = scene.begin();
        scene.recorder->finished();
        scene.input.question->succeed(true);
        QVERIFY(starting.error<Cancelled>());
        QCOMPARE(scene.recorder->state(), State::Idle);
        QVERIFY(!scene.input.isListening);
    }

    void finishedByWhoIsTold_data() {
        rows<bool>("byLevel", {{"of the time", false}, {"of the level", true}});
    }

    void finishedByWhoIsTold() {
        QFETCH(const bool, byLevel);
        Recording scene;
        const auto told = byLevel ? &VoiceRecorder::levelChanged : &VoiceRecorder::elapsedChanged;
        connect(scene.recorder.get(), told, this, [&] { scene.recorder->finished(); });
        scene.pass(300ms);
        QVERIFY(!scene.input.isListening && scene.recorder->state() == State::Idle);
        QCOMPARE(scene.recorder->elapsed(), 0.1);
        QVERIFY(!scene.isFileThere());
    }

    void fileIsPrivate() {
        Scene scene;
        const QString folder = QFileInfo(scene.path).path();
        QVERIFY(QDir().mkdir(folder));
        // As a careless hand left it.
        QVERIFY(QFile::setPermissions(folder, QFile::Permissions::fromInt(0x7777)));
        QCOMPARE(scene.record(), QString());
        QVERIFY(scene.isFileThere());
        struct stat status {};
        QVERIFY(stat(QFile::encodeName(folder).constData(), &status) == 0);
        QCOMPARE(status.st_mode & 07777, mode_t(0700));
    }

    void fileGoes_data() {
        rowsOf("ending", {"quit while recording", "quit while finishing", "crash", "next start fails"});
    }

    void fileGoes() {
        QFETCH(const QString, ending);
        Recording scene;
        QVERIFY(scene.isFileThere());
        scene.pass(1s);
        if (ending == u"quit while finishing")
            scene.recorder->stop(true);
        scene.recorder.reset();
        QVERIFY(!scene.input.isListening);
        QFile left(scene.path);
        if (ending == u"crash" || ending == u"next start fails") {
            QVERIFY(left.open(QFile::WriteOnly));
            left.close();
            scene.make(QFileInfo(scene.path).path());
        }
        if (ending == u"next start fails") {
            QVERIFY(left.open(QFile::WriteOnly));
            scene.input.access = FakeAudioInput::Access::Refused;
            scene.record();
            QCOMPARE(scene.recorder->state(), State::Denied);
        }
        QVERIFY(!scene.isFileThere());
        runQueued();
        QVERIFY(!scene.isFileThere());
    }
};

QTEST_GUILESS_MAIN(TestVoiceRecorder)
#include "TestVoiceRecorder.moc"
