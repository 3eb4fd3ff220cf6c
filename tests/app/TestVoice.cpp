#include "Columns.h"
#include "FakeAudioInput.h"
#include "ManualClock.h"
#include "World.h"

using namespace teskal::test;
using State = VoiceRecorder::State;

namespace {

const QString transcribePath = u"/api/transcribe"_qs;

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
            {{u"path"_qs, transcribePath}, {u"json"_qs, QJsonObject{{u"text"_qs, QString::fromUtf8(text)}}}});
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
    void joinsTheDraft() {
        Scene scene;
        QSignalSpy focus(&scene.model(), &AppModel::focusComposer);
        for (const char* said : {"Hi", "  hello "}) {
            scene.record();
            scene.answerWith(said);
            QVERIFY(scene.finish());
        }
        QCOMPARE(scene.model().draft(), u"Hi hello"_qs);
        QCOMPARE(focus.size(), 2);
    }

    void keepsToItsDraft() {
        Scene scene;
        const QString first = scene.world.ask(u"one"_qs);
        scene.record();
        scene.model().newChat();
        scene.model().setDraft(u"meanwhile"_qs);
        scene.answerWith("for the first");
        QVERIFY(scene.finish());
        QCOMPARE(scene.model().draft(), u"meanwhile"_qs);
        scene.model().select(first);
        QCOMPARE(scene.model().draft(), u"for the first"_qs);

        scene.model().newChat();
        scene.model().setDraft(QString());
        scene.record(); // for a chat that begins while it is said
        const QString second = scene.world.send(u"two"_qs);
        scene.answerWith("for the second");
        QVERIFY(scene.finish());
        QVERIFY(scene.model().selection() == second);
        QCOMPARE(scene.model().draft(), u"for the second"_qs);
    }

    void noticesOfFailures() {
        Scene scene;
        scene.record();
        scene.world.control.next({{u"path"_qs, transcribePath}, {u"drop"_qs, true}});
        QVERIFY(scene.finish());
        QCOMPARE(scene.model().toast(), u"Couldn’t hear that. Try again."_qs);
    }

    void discarded_data() {
        rowsOf("ending",
               {"chat deleted", "private chat left", "signed out", "another account", "nobody sees it"});
    }

    void discarded() {
        QFETCH(const QString, ending);
        Scene scene;
        QString chat;
        if (ending == u"private chat left")
            scene.model().newPrivateChat();
        else
            chat = scene.world.ask(u"one"_qs);
        scene.record();
        QVERIFY(scene.microphone.isListening);
        if (ending == u"chat deleted") {
            scene.model().deleteChat(chat);
        } else if (ending == u"private chat left") {
            scene.model().newChat();
        } else if (ending == u"signed out") {
            scene.model().signOut();
        } else if (ending == u"nobody sees it") {
            scene.model().discardRecording();
        } else {
            scene.world.control.post(u"consent"_qs, QJsonObject{{u"email"_qs, u"other@example.com"_qs}});
            scene.model().signIn();
            QVERIFY(waitUntil([&] { return scene.model().recorder().state() == State::Idle; }));
        }
        QVERIFY(!scene.microphone.isListening && scene.model().recorder().state() == State::Idle);
        runQueued();
        QCOMPARE(scene.model().toast(), QString());
        QCOMPARE(scene.world.control.requests(transcribePath).size(), 0);
    }

    void sessionEnds_data() { rows<bool>("isTranscribing", {{"recording", false}, {"transcribing", true}}); }

    /// What was said is not lost with the session, as what is written is not.
    void sessionEnds() {
        QFETCH(const bool, isTranscribing);
        // Tokens that live for less than a minute are renewed before every request.
        Scene scene({u"--access-token-seconds"_qs, u"30"_qs});
        AppModel& model = scene.model();
        const QString chat = scene.world.ask(u"one"_qs);
        model.setDraft(u"Hi"_qs);
        scene.record();
        scene.answerWith("hello");
        if (isTranscribing) {
            scene.world.control.hold(transcribePath);
            model.finishVoice();
            QVERIFY(scene.world.control.wait(transcribePath, u"held"_qs));
        }
        QVERIFY(waitUntil([&] { return !model.balance().isRefreshing(); }));
        scene.world.control.post(u"tokens"_qs, QJsonObject{{u"revokeAll"_qs, true}});
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
        QCOMPARE(model.draft(), u"Hi hello"_qs);
        QVERIFY(model.selection() == chat);
    }
};

QTEST_GUILESS_MAIN(TestVoice)
#include "TestVoice.moc"
