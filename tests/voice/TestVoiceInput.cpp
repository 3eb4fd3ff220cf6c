#include "Cancelled.h"
#include "Columns.h"
#include "FakeAudioInput.h"
#include "HttpSession.h"
#include "ManualClock.h"
#include "ServiceControl.h"
#include "SystemClock.h"
#include "VoiceInput.h"

using namespace teskal::test;
using State = VoiceRecorder::State;

namespace {

const QString transcribePath = u"/api/transcribe"_qs;
const QString chat = u"chat-1"_qs;

QCoro::Task<QString> given(QString token) {
    if (token.isEmpty())
        throw Cancelled(); // the account is another one
    co_return token;
}

/// Somebody who speaks, and what came of it: "heard chat: words", "failed: notice".
struct Scene {
    explicit Scene(const QUrl& origin, QString accessToken) : token(std::move(accessToken)), origin_(origin) {
        QObject::connect(&voice->recorder(), &VoiceRecorder::stateChanged, voice.get(), [this] {
            static const QHash<State, QString> names{{State::Idle, u"idle"_qs},
                                                     {State::Recording, u"recording"_qs},
                                                     {State::Transcribing, u"transcribing"_qs},
                                                     {State::Denied, u"denied"_qs},
                                                     {State::CouldNotStart, u"could not start"_qs}};
            told.append(names[voice->recorder().state()]);
        });
        QObject::connect(voice.get(), &VoiceInput::heard, voice.get(),
                         [this](const QString& slot, const QString& words) {
                             told.append(u"heard %1: %2"_qs.arg(slot, words));
                         });
        QObject::connect(voice.get(), &VoiceInput::failed, voice.get(),
                         [this](const QString& notice) { told.append(u"failed: "_qs + notice); });
    }

    State state() const { return voice->recorder().state(); }
    void pass(int ms) {
        input.hear(ms);
        clock.advance(std::chrono::milliseconds(ms));
    }
    void record(int ms = 1000) {
        voice->toggle(chat);
        pass(ms);
    }
    bool waitForIdle() {
        return waitUntil([this] { return state() == State::Idle; });
    }
    bool isFileThere() const { return QFileInfo::exists(folder.filePath(u"teskal-voice.m4a"_qs)); }
    /// What was told since the last time.
    QStringList said() { return std::exchange(told, {}); }

    QString token;
    QTemporaryDir folder;
    FakeAudioInput input;
    ManualClock clock;
    SystemClock realClock;
    HttpSession http{realClock};
    QStringList told;
    QUrl origin_;
    std::unique_ptr<VoiceInput> voice = std::make_unique<VoiceInput>(&input, folder.path(), clock, [this] {
        return TeskalAPI(
            origin_, [this](std::stop_token) { return given(token); }, http, realClock, u"1.2"_qs);
    });
};

QJsonObject reply(int status, const QJsonObject& json) {
    return {{u"path"_qs, transcribePath}, {u"status"_qs, status}, {u"json"_qs, json}};
}

QJsonObject words(const char* text) {
    return reply(200, {{u"text"_qs, QString::fromUtf8(text)}});
}

} // namespace

/// From the button to the words, over the service.
class TestVoiceInput final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() { token_ = control_.accessToken(); }

    void init() { control_.post(u"reset"_qs, QJsonObject()); }

    void hasTheServiceListen() {
        Scene scene(service_.origin(), token_);
        scene.voice->toggle(QString());
        scene.pass(2000);
        QVERIFY(scene.isFileThere());
        scene.voice->moveSlot(u"other"_qs, u"elsewhere"_qs);
        scene.voice->moveSlot(QString(), chat);
        scene.voice->finish();
        QVERIFY(scene.waitForIdle());
        const QJsonObject asked = control_.lastRequest(transcribePath);
        QCOMPARE(asked[u"headers"].toObject()[u"content-type"].toString(), u"audio/mp4"_qs);
        const int size = asked[u"bodyLength"].toInt();
        QVERIFY2(size > 10'000 && size < 60'000, qPrintable(QString::number(size)));
        QCOMPARE(scene.said(), (QStringList{u"recording"_qs, u"transcribing"_qs, u"idle"_qs,
                                            u"heard chat-1: I heard %1 bytes of audio/mp4."_qs.arg(size)}));
        QVERIFY(!scene.isFileThere());
    }

    void replies_data() {
        const auto row = columns<QJsonObject, QString>("answer", "result");
        const auto refusal = [](const char* code) {
            return QJsonObject{{u"error"_qs, u"No."_qs}, {u"code"_qs, QLatin1String(code)}};
        };
        const QString tooPoor = u"failed: You’re out of credits."_qs;
        const QString unheard = u"failed: Couldn’t hear that. Try again."_qs;
        row("spaces around", words(" hello\r\n"), "heard chat-1: hello");
        row("spaces within", words("Hi  you\nthere"), "heard chat-1: Hi  you\nthere");
        row("nothing but spaces", words(" \n"), "heard chat-1: ");
        row("no credits", reply(402, refusal("INSUFFICIENT_CREDITS")), tooPoor);
        row("refused", reply(500, refusal("BROKEN")), unheard);
        row("no text in the reply", reply(200, {}), unheard);
        row("connection lost", QJsonObject{{u"path"_qs, transcribePath}, {u"drop"_qs, true}}, unheard);
        row("no sound to send", QJsonObject(), unheard);
    }

    void replies() {
        FETCH(QJsonObject, answer, QString, result);
        Scene scene(service_.origin(), token_);
        if (answer.isEmpty()) {
            scene.voice->toggle(chat);
            scene.clock.advance(std::chrono::seconds(1));
        } else {
            control_.next(answer);
            scene.record();
        }
        scene.voice->finish();
        QVERIFY(scene.waitForIdle());
        QCOMPARE(scene.said(), (QStringList{u"recording"_qs, u"transcribing"_qs, u"idle"_qs, result}));
        QCOMPARE(control_.requests(transcribePath).size(), answer.isEmpty() ? 0 : 1);
        QVERIFY(!scene.isFileThere());
    }

    void endsBeforeTheService_data() {
        const auto row = columns<QString>("told");
        row("cancelled", "recording|idle");
        row("slip", "recording|idle");
        row("refused", "denied|failed: Teskal needs microphone access. Turn it on in System Settings → "
                       "Privacy & Security → Microphone.");
        row("no device", "could not start|failed: Couldn’t start recording.");
    }

    void endsBeforeTheService() {
        const QByteArray what = QTest::currentDataTag();
        Scene scene(service_.origin(), token_);
        if (what == "refused")
            scene.input.access = FakeAudioInput::Access::Refused;
        scene.input.opens = what != "no device";
        scene.record(what == "slip" ? 300 : 1000);
        if (what == "cancelled")
            scene.voice->toggle(chat);
        scene.voice->finish(); // where nothing is recorded any more, there is nothing to use
        QTEST(scene.said().join(QLatin1Char('|')), "told");
        QVERIFY(!scene.input.isListening && !scene.isFileThere());
        runQueued();
        QCOMPARE(control_.requests(transcribePath).size(), 0);
        scene.input.access = FakeAudioInput::Access::Granted;
        scene.input.opens = true;
        scene.voice->toggle(chat);
        QCOMPARE(scene.said(), QStringList{u"recording"_qs});
    }

    void oneThingAtATime() {
        Scene scene(service_.origin(), token_);
        scene.input.access = FakeAudioInput::Access::Asked;
        scene.voice->toggle(chat);
        const auto question = scene.input.question;
        scene.voice->toggle(u"other"_qs);
        scene.voice->finish();
        QCOMPARE(scene.input.question, question);
        question->succeed(true);
        QVERIFY(waitUntil([&] { return scene.state() == State::Recording; }));
        scene.pass(1000);
        control_.hold(transcribePath);
        scene.voice->finish();
        scene.voice->finish();
        scene.voice->toggle(u"other"_qs);
        QVERIFY(control_.wait(transcribePath, u"held"_qs));
        scene.voice->toggle(u"other"_qs);
        QVERIFY(scene.state() == State::Transcribing);
        control_.releaseAll();
        QVERIFY(scene.waitForIdle());
        QVERIFY(scene.said().last().startsWith(u"heard chat-1: "_qs));
        QCOMPARE(control_.requests(transcribePath).size(), 1);
    }

    void discarded_data() {
        const auto row = columns<QString, QString>("during", "by");
        for (const char* during : {"start", "recording", "transcription"})
            for (const char* by : {"discard", "draft gone"})
                QTest::addRow("%s: %s", during, by) << QString::fromLatin1(during) << QString::fromLatin1(by);
        row("transcription: account gone", "transcription", "account gone");
    }

    /// Nothing comes of it, and the next one is none the worse.
    void discarded() {
        FETCH(QString, during, QString, by);
        Scene scene(service_.origin(), token_);
        if (during == u"start")
            scene.input.access = FakeAudioInput::Access::Asked;
        scene.record();
        if (during == u"transcription") {
            if (by == u"account gone")
                scene.token.clear();
            else
                control_.hold(transcribePath);
            scene.voice->finish();
        }
        if (by == u"draft gone") {
            scene.voice->keepOnly([](const QString& slot) { return slot == chat; });
            QVERIFY(during == u"start" || scene.state() != State::Idle);
            scene.voice->keepOnly([](const QString& slot) { return slot.isEmpty(); });
        } else if (by == u"discard") {
            scene.voice->discard();
        }
        QVERIFY(scene.waitForIdle());
        QVERIFY(!scene.input.isListening && !scene.isFileThere());
        scene.input.question->succeed(true);
        control_.releaseAll();
        runQueued();
        QVERIFY(!scene.input.isListening);
        scene.said();

        scene.token = token_;
        scene.input.access = FakeAudioInput::Access::Granted;
        control_.next(words("again"));
        scene.voice->toggle(u"next"_qs);
        QVERIFY(waitUntil([&] { return scene.state() == State::Recording; }));
        scene.pass(1000);
        scene.voice->finish();
        QVERIFY(scene.waitForIdle());
        QCOMPARE(scene.said(),
                 (QStringList{u"recording"_qs, u"transcribing"_qs, u"idle"_qs, u"heard next: again"_qs}));
    }

    void quitWhileTranscribing() {
        Scene scene(service_.origin(), token_);
        scene.record();
        control_.hold(transcribePath);
        scene.voice->finish();
        QVERIFY(control_.wait(transcribePath, u"held"_qs));
        scene.voice.reset();
        QVERIFY(!scene.isFileThere());
        control_.releaseAll();
        QVERIFY(control_.wait(transcribePath, u"finished"_qs));
    }

private:
    LocalService service_;
    ServiceControl control_{service_};
    QString token_;
};

QTEST_GUILESS_MAIN(TestVoiceInput)
#include "TestVoiceInput.moc"
