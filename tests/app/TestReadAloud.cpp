#include "World.h"

#include <QTest>

using namespace teskal;
using namespace teskal::test;

namespace {

const QString speechPath = QStringLiteral("/api/speech");
const QString tooPoor = QStringLiteral("You’re out of credits.");
const QString unread = QStringLiteral("Couldn’t read that aloud.");

QJsonObject speak(const QString& id) {
    return {{QStringLiteral("type"), QStringLiteral("speak")},
            {QStringLiteral("id"), id},
            {QStringLiteral("text"), QStringLiteral("Read me")}};
}

/// What the page was told about reading since the last time: "a loading".
QStringList told(World& world) {
    QStringList states;
    for (const QString& call : world.page.takeCalls())
        if (call.startsWith(QLatin1String("setAudio(")))
            states.append(call.mid(9).chopped(1).remove(u'"').remove(u','));
    return states;
}

ChatMessage messageNamed(const char* id) {
    ChatMessage message;
    message.id = QLatin1String(id);
    return message;
}

void begin(World& world, const QString& id) {
    world.page.send(speak(id));
    if (!waitUntil([&] { return world.player.isPlaying; }))
        qFatal("nothing is played");
}

} // namespace

/// One message is read at a time, and whatever happens, it ends idle.
class TestReadAloud final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void playsWhatTheServiceSends();
    void oneAtATime();
    void secondPressWhileLoading();
    void endings_data();
    void endings();
    void failures_data();
    void failures();
    void quitWhileLoading();
};

void TestReadAloud::playsWhatTheServiceSends() {
    World world;
    world.signIn();
    begin(world, QStringLiteral("a"));
    QCOMPARE(told(world), (QStringList{QStringLiteral("a loading"), QStringLiteral("a playing")}));
    QCOMPARE(world.control.lastRequest(speechPath)[QLatin1String("json")].toObject(),
             (QJsonObject{{QStringLiteral("text"), QStringLiteral("Read me")}}));
    QVERIFY(world.player.played.value(0).startsWith("RIFF"));
    QVERIFY(world.model().audioOf(QStringLiteral("a")) == AudioState::Playing);
    world.page.sendReady(); // the page was loaded again
    QCOMPARE(told(world), QStringList{QStringLiteral("a playing")});
    world.player.end();
    QCOMPARE(told(world), QStringList{QStringLiteral("a idle")});
    QCOMPARE(world.model().toast(), QString());
}

void TestReadAloud::oneAtATime() {
    World world;
    world.signIn();
    begin(world, QStringLiteral("a"));
    told(world);
    world.page.send(speak(QStringLiteral("b")));
    QVERIFY(!world.player.isPlaying);
    QCOMPARE(told(world), (QStringList{QStringLiteral("a idle"), QStringLiteral("b loading")}));
    QVERIFY(waitUntil([&] { return world.player.isPlaying; }));
    QCOMPARE(told(world), QStringList{QStringLiteral("b playing")});
}

void TestReadAloud::secondPressWhileLoading() {
    World world;
    world.signIn();
    world.control.hold(speechPath, 10);
    world.page.send(speak(QStringLiteral("a")));
    QVERIFY(world.control.wait(speechPath, QStringLiteral("held")));
    world.page.send(speak(QStringLiteral("a")));
    QCOMPARE(told(world), (QStringList{QStringLiteral("a loading"), QStringLiteral("a idle")}));
    world.control.releaseAll();
    QVERIFY(world.control.wait(speechPath, QStringLiteral("finished")));
    begin(world, QStringLiteral("a")); // behind whatever was left of the first
    QCOMPARE(told(world), (QStringList{QStringLiteral("a loading"), QStringLiteral("a playing")}));
    QCOMPARE(world.player.played.size(), 1);
}

void TestReadAloud::endings_data() {
    QTest::addColumn<QString>("ending");
    for (const char* ending : {"press", "stop", "sign out", "another account", "message gone", "chat gone",
                               "private chat left", "page lost"})
        QTest::newRow(ending) << QString::fromLatin1(ending);
}

void TestReadAloud::endings() {
    QFETCH(const QString, ending);
    World world;
    world.signIn();
    auto& chats = const_cast<ChatStore&>(world.model().store()); // for what other devices do
    Chat chat;
    chat.id = QStringLiteral("chat");
    chat.messages = {messageNamed("a"), messageNamed("b")};
    if (ending == QLatin1String("private chat left"))
        chats.setPrivateChat(chat);
    else
        chats.upsertQuiet(chat);
    world.model().select(chat.id);
    begin(world, QStringLiteral("a"));
    told(world);
    if (ending == QLatin1String("press")) {
        world.page.send(speak(QStringLiteral("a")));
    } else if (ending == QLatin1String("stop")) {
        world.model().stopAudio();
    } else if (ending == QLatin1String("sign out")) {
        world.model().signOut();
    } else if (ending == QLatin1String("another account")) {
        world.control.post(QStringLiteral("consent"),
                           QJsonObject{{QStringLiteral("email"), QStringLiteral("other@example.com")}});
        world.model().signIn();
        QVERIFY(waitUntil([&] { return !world.player.isPlaying; }));
    } else if (ending == QLatin1String("message gone")) {
        chat.messages.removeLast();
        chats.upsertQuiet(chat);
        QCOMPARE(told(world), QStringList{QStringLiteral("a playing")}); // as the page was filled again
        chat.messages = {messageNamed("c")};
        chats.upsertQuiet(chat);
    } else if (ending == QLatin1String("chat gone")) {
        world.model().select(std::nullopt);
        QVERIFY(world.player.isPlaying);
        chats.removeQuiet(chat.id);
    } else if (ending == QLatin1String("private chat left")) {
        world.model().select(std::nullopt);
        chats.setPrivateChat(std::nullopt);
    } else { // what is heard goes on
        world.page.endProcess();
        QVERIFY(world.player.isPlaying);
        QCOMPARE(told(world), QStringList());
        return;
    }
    QVERIFY(!world.player.isPlaying);
    QCOMPARE(told(world), QStringList{QStringLiteral("a idle")});
    QVERIFY(world.model().audioOf(QStringLiteral("a")) == AudioState::Idle);
    QCOMPARE(world.model().toast(), QString());
}

void TestReadAloud::failures_data() {
    QTest::addColumn<QJsonObject>("reply");
    QTest::addColumn<bool>("failsAtOnce");
    QTest::addColumn<QString>("notice");
    const auto status = [](int code, const char* name) {
        return QJsonObject{
            {QStringLiteral("status"), code},
            {QStringLiteral("json"), QJsonObject{{QStringLiteral("error"), QStringLiteral("No.")},
                                                 {QStringLiteral("code"), QLatin1String(name)}}}};
    };
    QTest::newRow("no credits") << status(402, "INSUFFICIENT_CREDITS") << false << tooPoor;
    QTest::newRow("refused") << status(500, "BROKEN") << false << unread;
    QTest::newRow("connection lost") << QJsonObject{{QStringLiteral("drop"), true}} << false << unread;
    QTest::newRow("no device") << QJsonObject() << true << unread;
    QTest::newRow("no sound after all") << QJsonObject() << false << unread;
}

void TestReadAloud::failures() {
    QFETCH(QJsonObject, reply);
    QFETCH(const bool, failsAtOnce);
    World world;
    world.signIn();
    world.player.failsAtOnce = failsAtOnce;
    if (!reply.isEmpty()) {
        reply.insert(QStringLiteral("path"), speechPath);
        world.control.next(reply);
    }
    world.page.send(speak(QStringLiteral("a")));
    QVERIFY(waitUntil([&] { return world.player.isPlaying || !world.model().toast().isEmpty(); }));
    QStringList states = told(world);
    if (world.player.isPlaying) {
        QCOMPARE(states.takeLast(), QStringLiteral("a playing"));
        world.player.fail();
        states += told(world);
    }
    QCOMPARE(states, (QStringList{QStringLiteral("a loading"), QStringLiteral("a idle")}));
    QVERIFY(!world.player.isPlaying);
    QTEST(world.model().toast(), "notice");
}

void TestReadAloud::quitWhileLoading() {
    World world;
    world.signIn();
    world.control.hold(speechPath);
    world.page.send(speak(QStringLiteral("a")));
    QVERIFY(world.control.wait(speechPath, QStringLiteral("held")));
    world.quit();
    QCOMPARE(world.player.played.size(), 0);
    world.launch();
}

QTEST_GUILESS_MAIN(TestReadAloud)
#include "TestReadAloud.moc"
