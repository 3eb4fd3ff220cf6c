#include "FakeAudioInput.h"
#include "ManualClock.h"
#include "World.h"

#include <QSignalSpy>
#include <QTest>

using namespace teskal;
using namespace teskal::test;
using State = VoiceRecorder::State;

namespace {

const QString transcribePath = QStringLiteral("/api/transcribe");

/// Somebody signed in who has a microphone.
struct Scene {
    FakeAudioInput microphone;
    ManualClock clock;
    World world;

    explicit Scene(const QStringList& serviceArguments = {}) : world(serviceArguments, &clock) {
        world.quit();
        world.microphone = &microphone;
        world.launch();
        world.signIn();
    }
    AppModel& model() { return world.model(); }
    void record() {
        model().toggleVoice();
        microphone.hear(1000);
        clock.advance(std::chrono::seconds(1));
    }
    void answerWith(const char* text) {
        world.control.next(
            {{QStringLiteral("path"), transcribePath},
             {QStringLiteral("json"), QJsonObject{{QStringLiteral("text"), QString::fromUtf8(text)}}}});
    }
    /// Ends the recording and waits for what comes of it.
    bool finish() {
        model().finishVoice();
        return waitUntil([this] { return model().recorder().state() == State::Idle; });
    }
};

} // namespace

/// What is said becomes part of the draft it was meant for, or of none.
class TestVoice final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void joinsTheDraft();
    void keepsToItsDraft();
    void noticesOfFailures();
    void discarded_data();
    void discarded();
    void sessionEnds_data();
    void sessionEnds();
};

void TestVoice::joinsTheDraft() {
    Scene scene;
    QSignalSpy focus(&scene.model(), &AppModel::focusComposer);
    for (const char* said : {"Hi", "  hello "}) {
        scene.record();
        scene.answerWith(said);
        QVERIFY(scene.finish());
    }
    QCOMPARE(scene.model().draft(), QStringLiteral("Hi hello"));
    QCOMPARE(focus.size(), 2);
}

void TestVoice::keepsToItsDraft() {
    Scene scene;
    const QString first = scene.world.send(QStringLiteral("one"));
    QVERIFY(scene.world.waitForEnd(first));
    scene.record();
    scene.model().newChat();
    scene.model().setDraft(QStringLiteral("meanwhile"));
    scene.answerWith("for the first");
    QVERIFY(scene.finish());
    QCOMPARE(scene.model().draft(), QStringLiteral("meanwhile"));
    scene.model().select(first);
    QCOMPARE(scene.model().draft(), QStringLiteral("for the first"));

    scene.model().newChat();
    scene.model().setDraft(QString());
    scene.record(); // for a chat that begins while it is said
    const QString second = scene.world.send(QStringLiteral("two"));
    scene.answerWith("for the second");
    QVERIFY(scene.finish());
    QVERIFY(scene.model().selection() == second);
    QCOMPARE(scene.model().draft(), QStringLiteral("for the second"));
}

void TestVoice::noticesOfFailures() {
    Scene scene;
    scene.microphone.opens = false;
    scene.model().toggleVoice();
    QCOMPARE(scene.model().toast(), QStringLiteral("Couldn’t start recording."));
    scene.microphone.opens = true;
    scene.record();
    scene.world.control.next({{QStringLiteral("path"), transcribePath}, {QStringLiteral("drop"), true}});
    QVERIFY(scene.finish());
    QCOMPARE(scene.model().toast(), QStringLiteral("Couldn’t hear that. Try again."));
}

void TestVoice::discarded_data() {
    QTest::addColumn<QString>("ending");
    for (const char* ending :
         {"chat deleted", "private chat left", "signed out", "another account", "nobody sees it"})
        QTest::newRow(ending) << QString::fromLatin1(ending);
}

void TestVoice::discarded() {
    QFETCH(const QString, ending);
    Scene scene;
    QString chat;
    if (ending == QLatin1String("private chat left")) {
        scene.model().newPrivateChat();
    } else {
        chat = scene.world.send(QStringLiteral("one"));
        QVERIFY(scene.world.waitForEnd(chat));
    }
    scene.record();
    QVERIFY(scene.microphone.isListening);
    if (ending == QLatin1String("chat deleted")) {
        scene.model().deleteChat(chat);
    } else if (ending == QLatin1String("private chat left")) {
        scene.model().newChat();
    } else if (ending == QLatin1String("signed out")) {
        scene.model().signOut();
    } else if (ending == QLatin1String("nobody sees it")) {
        scene.model().discardRecording();
    } else {
        scene.world.control.post(QStringLiteral("consent"),
                                 QJsonObject{{QStringLiteral("email"), QStringLiteral("other@example.com")}});
        scene.model().signIn();
        QVERIFY(waitUntil([&] { return scene.model().recorder().state() == State::Idle; }));
    }
    QVERIFY(!scene.microphone.isListening);
    QVERIFY(scene.model().recorder().state() == State::Idle);
    runQueued();
    QCOMPARE(scene.model().toast(), QString());
    QCOMPARE(scene.world.control.requests(transcribePath).size(), 0);
}

void TestVoice::sessionEnds_data() {
    QTest::addColumn<bool>("isTranscribing");
    QTest::newRow("recording") << false;
    QTest::newRow("transcribing") << true;
}

/// What was said is not lost with the session, as what is written is not.
void TestVoice::sessionEnds() {
    QFETCH(const bool, isTranscribing);
    // Tokens that live for less than a minute are renewed before every request.
    Scene scene({QStringLiteral("--access-token-seconds"), QStringLiteral("30")});
    AppModel& model = scene.model();
    const QString chat = scene.world.send(QStringLiteral("one"));
    QVERIFY(scene.world.waitForEnd(chat));
    model.setDraft(QStringLiteral("Hi"));
    scene.record();
    scene.answerWith("hello");
    if (isTranscribing) {
        scene.world.control.hold(transcribePath);
        model.finishVoice();
        QVERIFY(scene.world.control.wait(transcribePath, QStringLiteral("held")));
    }
    QVERIFY(waitUntil([&] { return !model.balance().isRefreshing(); }));
    scene.world.control.post(QStringLiteral("tokens"), QJsonObject{{QStringLiteral("revokeAll"), true}});
    model.refreshBalance(true);
    QVERIFY(waitUntil([&] { return !model.auth().isSignedIn(); }));
    QVERIFY(!scene.microphone.isListening);
    QVERIFY(model.recorder().state() == (isTranscribing ? State::Transcribing : State::Recording));
    if (isTranscribing) {
        scene.world.control.releaseAll();
        QVERIFY(waitUntil([&] { return model.recorder().state() == State::Idle; }));
    } else {
        scene.world.signIn();
        QVERIFY(scene.finish());
    }
    QCOMPARE(model.draft(), QStringLiteral("Hi hello"));
    QVERIFY(model.selection() == chat);
}

QTEST_GUILESS_MAIN(TestVoice)
#include "TestVoice.moc"
