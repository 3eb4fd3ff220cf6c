#include "Cancelled.h"
#include "FakeAudioInput.h"
#include "HttpSession.h"
#include "ManualClock.h"
#include "ServiceControl.h"
#include "SystemClock.h"
#include "VoiceInput.h"
#include "WaitUntil.h"

#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

using namespace teskal;
using namespace teskal::test;
using State = VoiceRecorder::State;

namespace {

const QString transcribePath = QStringLiteral("/api/transcribe");
const QString chat = QStringLiteral("chat-1");

QCoro::Task<QString> given(QString token) {
    if (token.isEmpty())
        throw Cancelled(); // the account is another one
    co_return token;
}

/// Somebody who speaks, and what came of it: "heard chat: words", "failed: notice".
struct Scene {
    explicit Scene(const QUrl& origin, QString accessToken) : token(std::move(accessToken)), origin_(origin) {
        QObject::connect(&voice->recorder(), &VoiceRecorder::stateChanged, voice.get(), [this] {
            static const QHash<State, QString> names{
                {State::Idle, QStringLiteral("idle")},
                {State::Recording, QStringLiteral("recording")},
                {State::Transcribing, QStringLiteral("transcribing")},
                {State::Denied, QStringLiteral("denied")},
                {State::CouldNotStart, QStringLiteral("could not start")}};
            told.append(names[voice->recorder().state()]);
        });
        QObject::connect(voice.get(), &VoiceInput::heard, voice.get(),
                         [this](const QString& slot, const QString& words) {
                             told.append(QStringLiteral("heard %1: %2").arg(slot, words));
                         });
        QObject::connect(voice.get(), &VoiceInput::failed, voice.get(),
                         [this](const QString& notice) { told.append(QStringLiteral("failed: ") + notice); });
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
    bool isFileThere() const {
        return QFileInfo::exists(folder.filePath(QStringLiteral("teskal-voice.m4a")));
    }
    /// What was told since the last time.
    QStringList said() { return std::exchange(told, {}); }

    QString token;
    QTemporaryDir folder;
    FakeAudioInput input;
    ManualClock clock;
    SystemClock realClock;
    HttpSession http{realClock};
    QStringList told;

private:
    QUrl origin_;

public:
    std::unique_ptr<VoiceInput> voice = std::make_unique<VoiceInput>(&input, folder.path(), clock, [this] {
        return TeskalAPI(
            origin_, [this](std::stop_token) { return given(token); }, http, realClock,
            QStringLiteral("1.2"));
    });
};

QJsonObject reply(int status, const QJsonObject& json) {
    return {{QStringLiteral("path"), transcribePath},
            {QStringLiteral("status"), status},
            {QStringLiteral("json"), json}};
}

QJsonObject words(const char* text) {
    return reply(200, {{QStringLiteral("text"), QString::fromUtf8(text)}});
}

} // namespace

/// From the button to the words, over the service.
class TestVoiceInput final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() { token_ = control_.accessToken(); }
    void init();
    void hasTheServiceListen();
    void replies_data();
    void replies();
    void endsBeforeTheService_data();
    void endsBeforeTheService();
    void oneThingAtATime();
    void discarded_data();
    void discarded();
    void quitWhileTranscribing();

private:
    LocalService service_;
    ServiceControl control_{service_};
    QString token_;
};

void TestVoiceInput::init() {
    control_.post(QStringLiteral("reset"), QJsonObject());
}

void TestVoiceInput::hasTheServiceListen() {
    Scene scene(service_.origin(), token_);
    scene.voice->toggle(QString());
    scene.pass(2000);
    QVERIFY(scene.isFileThere());
    scene.voice->moveSlot(QStringLiteral("other"), QStringLiteral("elsewhere"));
    scene.voice->moveSlot(QString(), chat);
    scene.voice->finish();
    QVERIFY(scene.waitForIdle());
    const QJsonObject asked = control_.lastRequest(transcribePath);
    QCOMPARE(asked[QLatin1String("headers")].toObject()[QLatin1String("content-type")].toString(),
             QStringLiteral("audio/mp4"));
    const int size = asked[QLatin1String("bodyLength")].toInt();
    QVERIFY2(size > 10'000 && size < 60'000, qPrintable(QString::number(size)));
    QCOMPARE(scene.said(),
             (QStringList{QStringLiteral("recording"), QStringLiteral("transcribing"), QStringLiteral("idle"),
                          QStringLiteral("heard chat-1: I heard %1 bytes of audio/mp4.").arg(size)}));
    QVERIFY(!scene.isFileThere());
}

void TestVoiceInput::replies_data() {
    QTest::addColumn<QJsonObject>("answer");
    QTest::addColumn<QString>("result");
    const auto refusal = [](const char* code) {
        return QJsonObject{{QStringLiteral("error"), QStringLiteral("No.")},
                           {QStringLiteral("code"), QLatin1String(code)}};
    };
    const QString tooPoor = QStringLiteral("failed: You’re out of credits.");
    const QString unheard = QStringLiteral("failed: Couldn’t hear that. Try again.");
    QTest::newRow("spaces around") << words(" hello\r\n") << QStringLiteral("heard chat-1: hello");
    QTest::newRow("spaces within") << words("Hi  you\nthere")
                                   << QStringLiteral("heard chat-1: Hi  you\nthere");
    QTest::newRow("nothing but spaces") << words(" \n") << QStringLiteral("heard chat-1: ");
    QTest::newRow("no credits") << reply(402, refusal("INSUFFICIENT_CREDITS")) << tooPoor;
    QTest::newRow("refused") << reply(500, refusal("BROKEN")) << unheard;
    QTest::newRow("no text in the reply") << reply(200, {}) << unheard;
    QTest::newRow("connection lost") << QJsonObject{{QStringLiteral("path"), transcribePath},
                                                    {QStringLiteral("drop"), true}}
                                     << unheard;
    QTest::newRow("no sound to send") << QJsonObject() << unheard;
}

void TestVoiceInput::replies() {
    QFETCH(const QJsonObject, answer);
    QFETCH(const QString, result);
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
    QCOMPARE(scene.said(), (QStringList{QStringLiteral("recording"), QStringLiteral("transcribing"),
                                        QStringLiteral("idle"), result}));
    QCOMPARE(control_.requests(transcribePath).size(), answer.isEmpty() ? 0 : 1);
    QVERIFY(!scene.isFileThere());
}

void TestVoiceInput::endsBeforeTheService_data() {
    QTest::addColumn<QString>("what");
    QTest::addColumn<QString>("told");
    const auto row = [](const char* what, const char* told) {
        QTest::newRow(what) << QString::fromLatin1(what) << QString::fromUtf8(told);
    };
    row("cancelled", "recording|idle");
    row("slip", "recording|idle");
    row("refused", "denied|failed: Teskal needs microphone access. Turn it on in System Settings → Privacy & "
                   "Security → Microphone.");
    row("no device", "could not start|failed: Couldn’t start recording.");
}

void TestVoiceInput::endsBeforeTheService() {
    QFETCH(const QString, what);
    Scene scene(service_.origin(), token_);
    if (what == QLatin1String("refused"))
        scene.input.access = FakeAudioInput::Access::Refused;
    scene.input.opens = what != QLatin1String("no device");
    scene.record(what == QLatin1String("slip") ? 300 : 1000);
    if (what == QLatin1String("cancelled"))
        scene.voice->toggle(chat);
    scene.voice->finish(); // where nothing is recorded any more, there is nothing to use
    QTEST(scene.said().join(QLatin1Char('|')), "told");
    QVERIFY(!scene.input.isListening && !scene.isFileThere());
    runQueued();
    QCOMPARE(control_.requests(transcribePath).size(), 0);
    scene.input.access = FakeAudioInput::Access::Granted;
    scene.input.opens = true;
    scene.voice->toggle(chat);
    QCOMPARE(scene.said(), QStringList{QStringLiteral("recording")});
}

void TestVoiceInput::oneThingAtATime() {
    Scene scene(service_.origin(), token_);
    scene.input.access = FakeAudioInput::Access::Asked;
    scene.voice->toggle(chat);
    const auto question = scene.input.question;
    scene.voice->toggle(QStringLiteral("other"));
    scene.voice->finish();
    QCOMPARE(scene.input.question, question);
    question->succeed(true);
    QVERIFY(waitUntil([&] { return scene.state() == State::Recording; }));
    scene.pass(1000);
    control_.hold(transcribePath);
    scene.voice->finish();
    scene.voice->finish();
    scene.voice->toggle(QStringLiteral("other"));
    QVERIFY(control_.wait(transcribePath, QStringLiteral("held")));
    scene.voice->toggle(QStringLiteral("other"));
    QVERIFY(scene.state() == State::Transcribing);
    control_.releaseAll();
    QVERIFY(scene.waitForIdle());
    QVERIFY(scene.said().last().startsWith(QStringLiteral("heard chat-1: ")));
    QCOMPARE(control_.requests(transcribePath).size(), 1);
}

void TestVoiceInput::discarded_data() {
    QTest::addColumn<QString>("during");
    QTest::addColumn<QString>("by");
    for (const char* during : {"start", "recording", "transcription"})
        for (const char* by : {"discard", "draft gone"})
            QTest::addRow("%s: %s", during, by) << QString::fromLatin1(during) << QString::fromLatin1(by);
    QTest::newRow("transcription: account gone")
        << QStringLiteral("transcription") << QStringLiteral("account gone");
}

/// Nothing comes of it, and the next one is none the worse.
void TestVoiceInput::discarded() {
    QFETCH(const QString, during);
    QFETCH(const QString, by);
    Scene scene(service_.origin(), token_);
    if (during == QLatin1String("start"))
        scene.input.access = FakeAudioInput::Access::Asked;
    scene.record();
    if (during == QLatin1String("transcription")) {
        if (by == QLatin1String("account gone"))
            scene.token.clear();
        else
            control_.hold(transcribePath);
        scene.voice->finish();
    }
    if (by == QLatin1String("draft gone")) {
        scene.voice->keepOnly([](const QString& slot) { return slot == chat; });
        QVERIFY(during == QLatin1String("start") || scene.state() != State::Idle);
        scene.voice->keepOnly([](const QString& slot) { return slot.isEmpty(); });
    } else if (by == QLatin1String("discard")) {
        scene.voice->discard();
    }
    QVERIFY(scene.waitForIdle());
    QVERIFY(!scene.input.isListening);
    QVERIFY(!scene.isFileThere());
    scene.input.question->succeed(true);
    control_.releaseAll();
    runQueued();
    QVERIFY(!scene.input.isListening);
    scene.said();

    scene.token = token_;
    scene.input.access = FakeAudioInput::Access::Granted;
    control_.next(words("again"));
    scene.voice->toggle(QStringLiteral("next"));
    QVERIFY(waitUntil([&] { return scene.state() == State::Recording; }));
    scene.pass(1000);
    scene.voice->finish();
    QVERIFY(scene.waitForIdle());
    QCOMPARE(scene.said(), (QStringList{QStringLiteral("recording"), QStringLiteral("transcribing"),
                                        QStringLiteral("idle"), QStringLiteral("heard next: again")}));
}

void TestVoiceInput::quitWhileTranscribing() {
    Scene scene(service_.origin(), token_);
    scene.record();
    control_.hold(transcribePath);
    scene.voice->finish();
    QVERIFY(control_.wait(transcribePath, QStringLiteral("held")));
    scene.voice.reset();
    QVERIFY(!scene.isFileThere());
    control_.releaseAll();
    QVERIFY(control_.wait(transcribePath, QStringLiteral("finished")));
}

QTEST_GUILESS_MAIN(TestVoiceInput)
#include "TestVoiceInput.moc"
