#include "Columns.h"
#include "World.h"

using namespace teskal::test;

namespace {

const QString speechPath = u"/api/speech"_qs;
const QString tooPoor = u"You’re out of credits."_qs;
const QString unread = u"Couldn’t read that aloud."_qs;

QJsonObject speak(const QString& id) {
    return {{u"type"_qs, u"speak"_qs}, {u"id"_qs, id}, {u"text"_qs, u"Read me"_qs}};
}

/// What the page was told about reading since the last time: "a loading".
QStringList told(World& world) {
    QStringList states;
    for (const QString& call : world.page.takeCalls())
        if (call.startsWith(u"setAudio("))
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
    void playsWhatTheServiceSends() {
        SignedInWorld world;
        begin(world, u"a"_qs);
        QCOMPARE(told(world), (QStringList{u"a loading"_qs, u"a playing"_qs}));
        QCOMPARE(world.control.lastRequest(speechPath)[u"json"].toObject(),
                 (QJsonObject{{u"text"_qs, u"Read me"_qs}}));
        QVERIFY(world.player.played.value(0).startsWith("RIFF"));
        QVERIFY(world.model().audioOf(u"a"_qs) == AudioState::Playing);
        world.page.sendReady(); // the page was loaded again
        QCOMPARE(told(world), QStringList{u"a playing"_qs});
        world.player.end();
        QCOMPARE(told(world), QStringList{u"a idle"_qs});
        QCOMPARE(world.model().toast(), QString());
    }

    void oneAtATime() {
        SignedInWorld world;
        begin(world, u"a"_qs);
        told(world);
        world.page.send(speak(u"b"_qs));
        QVERIFY(!world.player.isPlaying);
        QCOMPARE(told(world), (QStringList{u"a idle"_qs, u"b loading"_qs}));
        QVERIFY(waitUntil([&] { return world.player.isPlaying; }));
        QCOMPARE(told(world), QStringList{u"b playing"_qs});
    }

    void secondPressWhileLoading() {
        SignedInWorld world;
        world.control.hold(speechPath, 10);
        world.page.send(speak(u"a"_qs));
        QVERIFY(world.control.wait(speechPath, u"held"_qs));
        world.page.send(speak(u"a"_qs));
        QCOMPARE(told(world), (QStringList{u"a loading"_qs, u"a idle"_qs}));
        world.control.releaseAll();
        QVERIFY(world.control.wait(speechPath, u"finished"_qs));
        begin(world, u"a"_qs); // behind whatever was left of the first
        QCOMPARE(told(world), (QStringList{u"a loading"_qs, u"a playing"_qs}));
        QCOMPARE(world.player.played.size(), 1);
    }

    void endings_data() {
        rowsOf("ending", {"press", "stop", "sign out", "another account", "message gone", "chat gone",
                          "private chat left", "page lost"});
    }

    void endings() {
        QFETCH(const QString, ending);
        SignedInWorld world;
        auto& chats = const_cast<ChatStore&>(world.model().store()); // for what other devices do
        Chat chat;
        chat.id = u"chat"_qs;
        chat.messages = {messageNamed("a"), messageNamed("b")};
        if (ending == u"private chat left")
            chats.setPrivateChat(chat);
        else
            chats.upsertQuiet(chat);
        world.model().select(chat.id);
        begin(world, u"a"_qs);
        told(world);
        if (ending == u"press") {
            world.page.send(speak(u"a"_qs));
        } else if (ending == u"stop") {
            world.model().stopAudio();
        } else if (ending == u"sign out") {
            world.model().signOut();
        } else if (ending == u"another account") {
            world.control.post(u"consent"_qs, QJsonObject{{u"email"_qs, u"other@example.com"_qs}});
            world.model().signIn();
            QVERIFY(waitUntil([&] { return !world.player.isPlaying; }));
        } else if (ending == u"message gone") {
            chat.messages.removeLast();
            chats.upsertQuiet(chat);
            QCOMPARE(told(world), QStringList{u"a playing"_qs}); // as the page was filled again
            chat.messages = {messageNamed("c")};
            chats.upsertQuiet(chat);
        } else if (ending == u"chat gone") {
            world.model().select(std::nullopt);
            QVERIFY(world.player.isPlaying);
            chats.removeQuiet(chat.id);
        } else if (ending == u"private chat left") {
            world.model().select(std::nullopt);
            chats.setPrivateChat(std::nullopt);
        } else { // what is heard goes on
            world.page.endProcess();
            QVERIFY(world.player.isPlaying);
            QCOMPARE(told(world), QStringList());
            return;
        }
        QVERIFY(!world.player.isPlaying);
        QCOMPARE(told(world), QStringList{u"a idle"_qs});
        QVERIFY(world.model().audioOf(u"a"_qs) == AudioState::Idle);
        QCOMPARE(world.model().toast(), QString());
    }

    void failures_data() {
        const auto row = columns<QJsonObject, bool, QString>("reply", "failsAtOnce", "notice");
        const auto refusal = [](const QString& code) {
            return QJsonObject{{u"status"_qs, 500},
                               {u"json"_qs, QJsonObject{{u"error"_qs, u"No."_qs}, {u"code"_qs, code}}}};
        };
        row("no credits", refusal(u"INSUFFICIENT_CREDITS"_qs), false, tooPoor);
        row("refused", refusal(u"BROKEN"_qs), false, unread);
        row("connection lost", QJsonObject{{u"drop"_qs, true}}, false, unread);
        row("no device", QJsonObject(), true, unread);
        row("no sound after all", QJsonObject(), false, unread);
    }

    void failures() {
        QFETCH(QJsonObject, reply);
        QFETCH(const bool, failsAtOnce);
        SignedInWorld world;
        world.player.failsAtOnce = failsAtOnce;
        if (!reply.isEmpty()) {
            reply.insert(u"path"_qs, speechPath);
            world.control.next(reply);
        }
        world.page.send(speak(u"a"_qs));
        QVERIFY(waitUntil([&] { return world.player.isPlaying || !world.model().toast().isEmpty(); }));
        QStringList states = told(world);
        if (world.player.isPlaying) {
            QCOMPARE(states.takeLast(), u"a playing"_qs);
            world.player.fail();
            states += told(world);
        }
        QCOMPARE(states, (QStringList{u"a loading"_qs, u"a idle"_qs}));
        QVERIFY(!world.player.isPlaying);
        QTEST(world.model().toast(), "notice");
    }
};

QTEST_GUILESS_MAIN(TestReadAloud)
#include "TestReadAloud.moc"
