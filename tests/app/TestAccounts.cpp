#include "World.h"

#include <QJsonArray>
#include <QTest>

using namespace teskal;
using namespace teskal::test;

namespace {

const QString answer = QStringLiteral("one two three four five six seven eight nine ten");

/// Signs in and asks; the answer stops in the middle of its text, or before its headers.
QString beginAnswer(World& world, bool withText) {
    world.control.next({{QStringLiteral("path"), chatPath},
                        {QStringLiteral("rawStream"), QString::fromLatin1(answer.toLatin1().toBase64())},
                        {QStringLiteral("chunks"), QJsonArray{10}}});
    world.control.hold(chatPath, withText ? 20 : -1);
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

} // namespace

/// Accounts that come and go while answers are under way, and starts of the application in between.
class TestAccounts final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void quitWhileAnswering_data();
    void quitWhileAnswering();
    void signOutWhileAnswering();
    void anotherAccountWhileAnswering();
    void endedSessionKeepsTheChats();
    void eachAccountHasItsChats();
};

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

void TestAccounts::signOutWhileAnswering() {
    World world;
    world.signIn();
    const QString owner = world.model().store().owner().value();
    const QString chat = beginAnswer(world, false);
    world.model().signOut();
    QVERIFY(!world.model().store().owner());
    QCOMPARE(world.model().store().count(), 0);
    QVERIFY(!world.model().selection());
    QVERIFY(!world.model().isAnswering(chat));
    QVERIFY(world.keychain.items.isEmpty());
    world.control.releaseAll();
    QVERIFY(world.control.wait(chatPath, QStringLiteral("finished")));
    world.model().send(QStringLiteral("Hello?"));
    QCOMPARE(world.model().store().count(), 0);

    const QList<Chat> stored = world.stored(owner);
    QCOMPARE(stored.size(), 1);
    QVERIFY(!stored.first().messages.last().pending);
    QCOMPARE(stored.first().messages.last().error.value().code.value(), QStringLiteral("STOPPED"));
    world.signIn();
    QCOMPARE(world.errorOf(chat), QStringLiteral("STOPPED: Stopped before an answer came back."));
}

void TestAccounts::anotherAccountWhileAnswering() {
    World world;
    consentAs(world, "first@example.com");
    world.signIn();
    const QString first = world.model().store().owner().value();
    const QString chat = beginAnswer(world, true);
    const QString text = world.last(chat).content;
    consentAs(world, "second@example.com");
    world.model().signIn();
    QVERIFY(
        waitUntil([&] { return world.model().store().owner() && *world.model().store().owner() != first; }));
    QCOMPARE(world.model().store().count(), 0);
    QVERIFY(!world.model().selection());
    QStringList touched;
    QObject::connect(&world.model().store(), &ChatStore::messageChanged, &world.page,
                     [&](const QString& id) { touched.append(id); });
    world.control.releaseAll();
    QVERIFY(world.control.wait(chatPath, QStringLiteral("finished")));
    const QString other = world.send(QStringLiteral("Hello"));
    QVERIFY(world.waitForEnd(other));
    touched.removeDuplicates();
    QCOMPARE(touched, QStringList{other});
    QCOMPARE(world.model().store().count(), 1);
    QCOMPARE(world.control.requests(chatPath).first()[QLatin1String("outcome")].toString(),
             QStringLiteral("clientLeft"));

    const ChatMessage kept = world.stored(first).first().messages.last();
    QVERIFY(!kept.pending);
    QCOMPARE(kept.content, text);
}

void TestAccounts::endedSessionKeepsTheChats() {
    // Tokens that live for less than a minute are renewed before every question.
    World world({QStringLiteral("--access-token-seconds"), QStringLiteral("30")});
    world.signIn();
    const QString owner = world.model().store().owner().value();
    const QString chat = world.send(QStringLiteral("Hello"));
    QVERIFY(world.waitForEnd(chat));
    QCOMPARE(world.errorOf(chat), QString());
    world.control.post(QStringLiteral("tokens"), QJsonObject{{QStringLiteral("revokeAll"), true}});
    world.model().send(QStringLiteral("Still there?"));
    QVERIFY(world.waitForEnd(chat));
    QCOMPARE(world.errorOf(chat),
             QStringLiteral("SIGNED_OUT: Your session ended. Sign in again to keep chatting."));
    QVERIFY(!world.model().auth().isSignedIn());
    QCOMPARE(world.model().store().owner().value(), owner);
    QCOMPARE(world.model().selection().value(), chat);

    world.page.send({{QStringLiteral("type"), QStringLiteral("signIn")}});
    QVERIFY(
        waitUntil([&] { return world.model().auth().isSignedIn() && !world.model().auth().isSigningIn(); }));
    QCOMPARE(world.model().selection().value(), chat);
    world.model().retry();
    QVERIFY(world.waitForEnd(chat));
    QCOMPARE(world.errorOf(chat), QString());
}

void TestAccounts::eachAccountHasItsChats() {
    World world;
    consentAs(world, "first@example.com");
    world.signIn();
    const QString chat = world.send(QStringLiteral("Hello"));
    QVERIFY(world.waitForEnd(chat));
    world.model().signOut();
    consentAs(world, "second@example.com");
    world.signIn();
    QCOMPARE(world.model().store().count(), 0);
    world.model().signOut();
    consentAs(world, "first@example.com");
    world.signIn();
    QCOMPARE(world.model().store().count(), 1);
    QCOMPARE(world.model().store().at(0).id, chat);
}

QTEST_GUILESS_MAIN(TestAccounts)
#include "TestAccounts.moc"
