#include "Columns.h"
#include "ManualClock.h"
#include "World.h"

using namespace teskal::test;

namespace {

const QString tokenPath = u"/functions/v1/oauth/token"_qs;

/// Signs in and asks; the answer stops in the middle of its text, or before its headers.
QString beginAnswer(World& world, bool withText) {
    if (withText)
        world.holdInTheMiddle();
    else
        world.control.hold(chatPath);
    const QString chat = world.send(u"Count"_qs);
    if (!(withText ? world.waitForText(chat) : world.control.wait(chatPath, u"held"_qs)))
        qFatal("the answer is not held");
    return chat;
}

void consentAs(World& world, const char* email) {
    world.control.post(u"consent"_qs,
                       QJsonObject{{u"email"_qs, QLatin1String(email)}, {u"automatic"_qs, true}});
}

/// Something that the user does.
using Act = void (*)(AppModel&);

/// What an answer may be waiting for.
enum class Wait { Token, Headers, Text };

} // namespace

Q_DECLARE_METATYPE(Act)
Q_DECLARE_METATYPE(Wait)

/// Accounts that come and go while answers are under way, and starts of the application in between.
class TestAccounts final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void quitWhileAnswering_data() {
        rows<bool>("withText", {{"before any text", false}, {"in the middle", true}});
    }

    void quitWhileAnswering() {
        QFETCH(const bool, withText);
        SignedInWorld world;
        const QString chat = beginAnswer(world, withText);
        world.model().flush(); // the question is saved long before
        const QString text = world.last(chat).content;
        world.quit();
        QVERIFY(world.control.wait(chatPath, u"finished"_qs));
        world.launch();
        QVERIFY(waitUntil([&] { return world.model().store().count() == 1; }));
        const ChatMessage message = world.last(chat);
        QVERIFY(!message.pending);
        QCOMPARE(message.content, text);
        QCOMPARE(world.errorOf(chat), withText ? QString() : u"-: Stopped when Teskal quit."_qs);
        QVERIFY(world.model().auth().isSignedIn());
        QCOMPARE(world.control.requests(u"/oauth/authorize"_qs).size(), 1);
    }

    void busyWhileChatsAreRead_data() {
        // chats: by their first questions, newest first
        const auto row = columns<QStringList, Act>("chats", "act");
        const QStringList earlier{u"Earlier"_qs};
        row("asks", QStringList{u"Now"_qs} + earlier, [](AppModel& model) { model.send(u"Now"_qs); });
        row("asks in private", earlier, [](AppModel& model) {
            model.newPrivateChat();
            model.send(u"Between us"_qs);
        });
        row("signs out", earlier, [](AppModel& model) { model.signOut(); });
        row("deletes all", QStringList(), [](AppModel& model) { model.deleteAllChats(); });
    }

    /// At a start, the session is there before the chats are.
    void busyWhileChatsAreRead() {
        FETCH(QStringList, chats, Act, act);
        SignedInWorld world;
        const QString owner = world.model().store().owner().value();
        world.ask(u"Earlier"_qs);
        world.quit();
        bool wasReading = false;
        world.launch([&](AppModel& model) {
            wasReading = model.store().isLoading() && model.store().count() == 0;
            act(model);
        });
        QVERIFY(wasReading);
        if (!world.model().auth().isSignedIn())
            world.signIn();
        if (const auto asked = world.model().selection()) {
            QVERIFY(world.waitForEnd(*asked));
            QVERIFY(!world.last(*asked).content.isEmpty());
        }
        const auto questions = [](const auto& all, qsizetype count) {
            QStringList first;
            for (int i = 0; i < count; ++i)
                first.append(all.at(i).messages.first().content);
            return first;
        };
        QCOMPARE(questions(world.model().store(), world.model().store().count()), chats);
        world.model().flush();
        QCOMPARE(questions(world.stored(owner), world.stored(owner).size()), chats);
    }

    void leftWhileAnswering_data() {
        columns<Wait, bool, bool>("wait", "comesBack", "signsOut");
        for (const auto& [name, wait] :
             {std::pair("token", Wait::Token), {"headers", Wait::Headers}, {"text", Wait::Text}}) {
            QTest::addRow("%s, another account", name) << wait << false << false;
            QTest::addRow("%s, signs out, another account", name) << wait << false << true;
            QTest::addRow("%s, signs out and in again", name) << wait << true << true;
        }
    }

    /// Whatever an answer waits for, once its account was left it changes nothing any more.
    void leftWhileAnswering() {
        FETCH(Wait, wait, bool, comesBack, bool, signsOut);
        // Tokens that live for less than a minute are renewed before every request.
        World world(wait == Wait::Token ? QStringList{u"--access-token-seconds"_qs, u"30"_qs}
                                        : QStringList());
        consentAs(world, "first@example.com");
        world.signIn();
        const QString first = world.model().store().owner().value();
        QString chat;
        if (wait == Wait::Token) {
            QVERIFY(waitUntil([&] { return !world.model().balance().isRefreshing(); }));
            for (const char* path : {"/api/chats", "/api/folders"})
                QVERIFY(world.control.wait(QLatin1String(path), u"finished"_qs));
            const int renewals = int(world.control.requests(tokenPath).size());
            world.control.next({{u"path"_qs, tokenPath}, {u"hang"_qs, true}});
            chat = world.send(u"Count"_qs);
            QVERIFY(world.control.wait(tokenPath, u"received"_qs, renewals + 1));
            QCOMPARE(world.control.requests(chatPath).size(), 0);
        } else {
            chat = beginAnswer(world, wait == Wait::Text);
        }
        const ChatMessage begun = world.last(chat);
        if (signsOut) {
            world.model().signOut();
            QVERIFY(!world.model().store().owner() && !world.model().selection());
            QVERIFY(world.model().store().count() == 0 && !world.model().isAnswering(chat));
            QVERIFY(world.keychain.items.isEmpty());
            AppModel& nobodys = world.model();
            nobodys.setDraft(u"Hello?"_qs);
            nobodys.sendDraft();
            nobodys.send(u"Hello?"_qs);
            nobodys.retry();
            nobodys.stop();
            nobodys.copyLastAnswer();
            QCOMPARE(nobodys.draft(), u"Hello?"_qs); // the words are not lost
            QVERIFY(nobodys.store().count() == 0 && !nobodys.selection() && nobodys.toast().isEmpty());
            nobodys.setDraft(QString());
        }
        consentAs(world, comesBack ? "first@example.com" : "second@example.com");
        world.signIn();
        QCOMPARE(world.model().store().owner() == first, comesBack);
        QVERIFY(!world.model().selection());
        QStringList touched;
        QObject::connect(&world.model().store(), &ChatStore::messageChanged, &world.page,
                         [&](const QString& changed) { touched.append(changed); });
        world.control.releaseAll();
        const QString other = world.ask(u"Hello"_qs);
        touched.removeDuplicates();
        QCOMPARE(touched, QStringList{other});
        QCOMPARE(world.model().store().count(), comesBack ? 2 : 1);

        world.model().flush();
        for (const Chat& stored : world.stored(first)) {
            if (stored.id != chat)
                continue;
            const ChatMessage kept = stored.messages.last();
            QVERIFY(!kept.pending);
            QCOMPARE(kept.content, begun.content);
            QCOMPARE(kept.error.has_value(), begun.content.isEmpty());
            // The end of a session, when it is replaced, is known to those who wait for its token at once.
            if (kept.error)
                QCOMPARE(kept.error->code.value(),
                         wait == Wait::Token && !signsOut ? u"SIGNED_OUT"_qs : u"STOPPED"_qs);
            return;
        }
        QFAIL("the question is lost");
    }

    void endedSessionKeepsTheChats() {
        // Tokens that live for less than a minute are renewed before every question. Nothing else is under
        // way that could renew them: history and folders wait for the clock.
        ManualClock clock(SystemClock().nowMs());
        World world({u"--access-token-seconds"_qs, u"30"_qs}, &clock);
        world.signIn();
        const QString owner = world.model().store().owner().value();
        const QString chat = world.ask(u"Hello"_qs);
        QCOMPARE(world.errorOf(chat), QString());
        QVERIFY(waitUntil([&] { return !world.model().balance().isRefreshing(); }));
        world.control.post(u"tokens"_qs, QJsonObject{{u"revokeAll"_qs, true}});
        world.model().send(u"Still there?"_qs);
        world.model().setDraft(u"unsent"_qs);
        QVERIFY(world.waitForEnd(chat));
        QCOMPARE(world.errorOf(chat), u"SIGNED_OUT: Your session ended. Sign in again to keep chatting."_qs);
        QVERIFY(!world.model().auth().isSignedIn());
        QCOMPARE(world.model().store().owner().value(), owner);
        QCOMPARE(world.model().selection().value(), chat);
        QVERIFY(!world.model().balance().billing());
        world.model().sendDraft();
        world.model().signIn();
        world.model().auth().cancelSignIn();
        QVERIFY(waitUntil([&] { return !world.model().auth().isSigningIn(); }));
        QVERIFY(!world.model().auth().isSignedIn());
        QCOMPARE(world.model().draft(), u"unsent"_qs);
        const int passes = int(world.control.requests(u"/api/chats"_qs).size());

        world.page.send({{u"type"_qs, u"signIn"_qs}});
        QVERIFY(waitUntil(
            [&] { return world.model().auth().isSignedIn() && !world.model().auth().isSigningIn(); }));
        QCOMPARE(world.model().selection().value(), chat);
        QCOMPARE(world.model().draft(), u"unsent"_qs);
        clock.advance(std::chrono::milliseconds(0));
        QVERIFY(world.control.wait(u"/api/chats"_qs, u"finished"_qs, passes + 1));
        QVERIFY(waitUntil([&] { return world.model().balance().billing().has_value(); }));
        world.model().retry();
        QVERIFY(world.waitForEnd(chat));
        QCOMPARE(world.errorOf(chat), QString());
    }
};

QTEST_GUILESS_MAIN(TestAccounts)
#include "TestAccounts.moc"
