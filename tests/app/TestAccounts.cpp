#include "ManualClock.h"
#include "World.h"

#include <QJsonArray>
#include <QTest>

using namespace teskal;
using namespace teskal::test;

namespace {

const QString tokenPath = QStringLiteral("/functions/v1/oauth/token");

/// Signs in and asks; the answer stops in the middle of its text, or before its headers.
QString beginAnswer(World& world, bool withText) {
    if (withText)
        world.holdInTheMiddle();
    else
        world.control.hold(chatPath);
    const QString chat = world.send(QStringLiteral("Count"));
    const bool held =
        withText ? world.waitForText(chat) : world.control.wait(chatPath, QStringLiteral("held"));
    if (!held)
        qFatal("the answer is not held");
    return chat;
}

void consentAs(World& world, const char* email) {
    world.control.post(QStringLiteral("consent"), QJsonObject{{QStringLiteral("email"), QLatin1String(email)},
                                                              {QStringLiteral("automatic"), true}});
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
    void nothingIsSentWithoutAnAccount();
    void quitWhileAnswering_data();
    void quitWhileAnswering();
    void busyWhileChatsAreRead_data();
    void busyWhileChatsAreRead();
    void leftWhileAnswering_data();
    void leftWhileAnswering();
    void endedSessionKeepsTheChats();
};

void TestAccounts::nothingIsSentWithoutAnAccount() {
    World world;
    AppModel& model = world.model();
    model.setDraft(QStringLiteral("Hello"));
    model.sendDraft();
    model.send(QStringLiteral("Hello"));
    model.retry();
    model.stop();
    model.copyLastAnswer();
    QCOMPARE(model.draft(), QStringLiteral("Hello")); // the words are not lost
    QVERIFY(!model.selection());
    QCOMPARE(world.control.requests(chatPath).size(), 0);
    QCOMPARE(model.toast(), QString());
}

void TestAccounts::quitWhileAnswering_data() {
    QTest::addColumn<bool>("withText");
    QTest::newRow("before any text") << false;
    QTest::newRow("in the middle") << true;
}

void TestAccounts::quitWhileAnswering() {
    QFETCH(const bool, withText);
    World world;
    world.signIn();
    const QString chat = beginAnswer(world, withText);
    world.model().flush(); // the question is saved long before
    const QString text = world.last(chat).content;
    world.quit();
    QVERIFY(world.control.wait(chatPath, QStringLiteral("finished")));
    world.launch();
    QVERIFY(waitUntil([&] { return world.model().store().count() == 1; }));
    const ChatMessage message = world.last(chat);
    QVERIFY(!message.pending);
    QCOMPARE(message.content, text);
    QCOMPARE(world.errorOf(chat), withText ? QString() : QStringLiteral("-: Stopped when Teskal quit."));
    QVERIFY(world.model().auth().isSignedIn());
    QCOMPARE(world.control.requests(QStringLiteral("/oauth/authorize")).size(), 1);
}

void TestAccounts::busyWhileChatsAreRead_data() {
    QTest::addColumn<Act>("act");
    QTest::addColumn<QStringList>("chats"); // by their first questions, newest first
    const auto row = [](const char* name, Act act, const QStringList& chats) {
        QTest::newRow(name) << act << chats;
    };
    const QStringList earlier{QStringLiteral("Earlier")};
    row(
        "asks", [](AppModel& model) { model.send(QStringLiteral("Now")); },
        QStringList{QStringLiteral("Now")} + earlier);
    row(
        "asks in private",
        [](AppModel& model) {
            model.newPrivateChat();
            model.send(QStringLiteral("Between us"));
        },
        earlier);
    row(
        "signs out", [](AppModel& model) { model.signOut(); }, earlier);
    row("deletes all", [](AppModel& model) { model.deleteAllChats(); }, {});
}

/// At a start, the session is there before the chats are.
void TestAccounts::busyWhileChatsAreRead() {
    QFETCH(const Act, act);
    QFETCH(const QStringList, chats);
    World world;
    world.signIn();
    const QString owner = world.model().store().owner().value();
    QVERIFY(world.waitForEnd(world.send(QStringLiteral("Earlier"))));
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
    const auto questions = [](const auto& all, int count) {
        QStringList first;
        for (int i = 0; i < count; ++i)
            first.append(all.at(i).messages.first().content);
        return first;
    };
    QCOMPARE(questions(world.model().store(), world.model().store().count()), chats);
    world.model().flush();
    const QList<Chat> stored = world.stored(owner);
    QCOMPARE(questions(stored, int(stored.size())), chats);
}

void TestAccounts::leftWhileAnswering_data() {
    QTest::addColumn<Wait>("wait");
    QTest::addColumn<bool>("comesBack");
    QTest::addColumn<bool>("signsOut");
    for (const auto& [name, wait] : {std::pair("token", Wait::Token), std::pair("headers", Wait::Headers),
                                     std::pair("text", Wait::Text)}) {
        QTest::addRow("%s, another account", name) << wait << false << false;
        QTest::addRow("%s, signs out, another account", name) << wait << false << true;
        QTest::addRow("%s, signs out and in again", name) << wait << true << true;
    }
}

/// Whatever an answer waits for, once its account was left it changes nothing any more.
void TestAccounts::leftWhileAnswering() {
    QFETCH(const Wait, wait);
    QFETCH(const bool, comesBack);
    QFETCH(const bool, signsOut);
    // Tokens that live for less than a minute are renewed before every request.
    World world(wait == Wait::Token
                    ? QStringList{QStringLiteral("--access-token-seconds"), QStringLiteral("30")}
                    : QStringList());
    consentAs(world, "first@example.com");
    world.signIn();
    const QString first = world.model().store().owner().value();
    QString chat;
    if (wait == Wait::Token) {
        QVERIFY(waitUntil([&] { return !world.model().balance().isRefreshing(); }));
        for (const char* path : {"/api/chats", "/api/folders"})
            QVERIFY(world.control.wait(QLatin1String(path), QStringLiteral("finished")));
        const int renewals = int(world.control.requests(tokenPath).size());
        world.control.next({{QStringLiteral("path"), tokenPath}, {QStringLiteral("hang"), true}});
        chat = world.send(QStringLiteral("Count"));
        QVERIFY(world.control.wait(tokenPath, QStringLiteral("received"), renewals + 1));
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
        world.model().send(QStringLiteral("Hello?"));
        QCOMPARE(world.model().store().count(), 0);
    }
    consentAs(world, comesBack ? "first@example.com" : "second@example.com");
    world.signIn();
    QCOMPARE(world.model().store().owner() == first, comesBack);
    QVERIFY(!world.model().selection());
    QStringList touched;
    QObject::connect(&world.model().store(), &ChatStore::messageChanged, &world.page,
                     [&](const QString& changed) { touched.append(changed); });
    world.control.releaseAll();
    const QString other = world.send(QStringLiteral("Hello"));
    QVERIFY(world.waitForEnd(other));
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
            QCOMPARE(kept.error->code.value(), wait == Wait::Token && !signsOut ? QStringLiteral("SIGNED_OUT")
                                                                                : QStringLiteral("STOPPED"));
        return;
    }
    QFAIL("the question is lost");
}

void TestAccounts::endedSessionKeepsTheChats() {
    // Tokens that live for less than a minute are renewed before every question. Nothing else is under way
    // that could renew them: history and folders wait for the clock.
    ManualClock clock(SystemClock().nowMs());
    World world({QStringLiteral("--access-token-seconds"), QStringLiteral("30")}, &clock);
    world.signIn();
    const QString owner = world.model().store().owner().value();
    const QString chat = world.send(QStringLiteral("Hello"));
    QVERIFY(world.waitForEnd(chat));
    QCOMPARE(world.errorOf(chat), QString());
    QVERIFY(waitUntil([&] { return !world.model().balance().isRefreshing(); }));
    world.control.post(QStringLiteral("tokens"), QJsonObject{{QStringLiteral("revokeAll"), true}});
    world.model().send(QStringLiteral("Still there?"));
    world.model().setDraft(QStringLiteral("unsent"));
    QVERIFY(world.waitForEnd(chat));
    QCOMPARE(world.errorOf(chat),
             QStringLiteral("SIGNED_OUT: Your session ended. Sign in again to keep chatting."));
    QVERIFY(!world.model().auth().isSignedIn());
    QCOMPARE(world.model().store().owner().value(), owner);
    QCOMPARE(world.model().selection().value(), chat);
    QVERIFY(!world.model().balance().billing());
    world.model().sendDraft();
    world.model().signIn();
    world.model().auth().cancelSignIn();
    QVERIFY(waitUntil([&] { return !world.model().auth().isSigningIn(); }));
    QVERIFY(!world.model().auth().isSignedIn());
    QCOMPARE(world.model().draft(), QStringLiteral("unsent"));
    const int passes = int(world.control.requests(QStringLiteral("/api/chats")).size());

    world.page.send({{QStringLiteral("type"), QStringLiteral("signIn")}});
    QVERIFY(
        waitUntil([&] { return world.model().auth().isSignedIn() && !world.model().auth().isSigningIn(); }));
    QCOMPARE(world.model().selection().value(), chat);
    QCOMPARE(world.model().draft(), QStringLiteral("unsent"));
    clock.advance(std::chrono::milliseconds(0));
    QVERIFY(world.control.wait(QStringLiteral("/api/chats"), QStringLiteral("finished"), passes + 1));
    QVERIFY(waitUntil([&] { return world.model().balance().billing().has_value(); }));
    world.model().retry();
    QVERIFY(world.waitForEnd(chat));
    QCOMPARE(world.errorOf(chat), QString());
}

QTEST_GUILESS_MAIN(TestAccounts)
#include "TestAccounts.moc"
