#include "HttpError.h"
#include "World.h"

#include <QJsonArray>
#include <QTest>

using namespace teskal;
using namespace teskal::test;

namespace {

QStringList functionsOf(const QStringList& calls) {
    QStringList names;
    for (const QString& call : calls)
        names.append(call.section(QLatin1Char('('), 0, 0));
    return names;
}

const QString stopped = QStringLiteral("STOPPED: Stopped before an answer came back.");

} // namespace

/// Questions and answers of one account, over the wire.
class TestAnswers final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void firstConversation();
    void streamingTouchesOneMessage();
    void titleOnlyOfTheFirstExchange();
    void stopBeforeAnyText();
    void failuresComeOntoTheMessage_data();
    void failuresComeOntoTheMessage();
    void serviceThatIsGone();
    void askAgain();
    void twoChatsAtOnce();
    void anotherChatIsShownMeanwhile();
    void generatedMedia();
    void deafWhileAnswering();
};

void TestAnswers::firstConversation() {
    World world;
    world.signIn();
    AppModel& model = world.model();
    model.setDraft(QStringLiteral("  Hello there \n"));
    model.sendDraft();
    QCOMPARE(model.draft(), QString());
    const QString chat = model.selection().value();
    QVERIFY(model.isBusy());
    QCOMPARE(model.store().chat(chat)->messages.first().content, QStringLiteral("Hello there"));
    QVERIFY(world.last(chat).pending);
    QVERIFY(world.waitForEnd(chat));

    const ChatMessage answer = world.last(chat);
    QVERIFY(!answer.pending && !answer.error && !answer.content.isEmpty());
    QVERIFY(answer.route.value().member(QStringLiteral("model")).string());
    const QString title = answer.route.value().member(QStringLiteral("title")).text().value();
    QCOMPARE(model.store().chat(chat)->title, title);
    const QStringList calls = world.page.takeCalls();
    QCOMPARE(functionsOf(calls).count(QStringLiteral("setChat")), 1);
    const QStringList busy = calls.filter(QStringLiteral("setBusy"));
    QCOMPARE(busy.mid(busy.size() - 2),
             (QStringList{QStringLiteral("setBusy(true)"), QStringLiteral("setBusy(false)")}));
    QCOMPARE(functionsOf(calls).count(QStringLiteral("scrollToBottom")), 1);

    model.send(QStringLiteral("And now?"));
    QVERIFY(world.waitForEnd(chat));
    QCOMPARE(model.store().chat(chat)->messages.size(), 4);
    const QJsonArray sent =
        world.control.lastRequest(chatPath)[QLatin1String("json")][QLatin1String("messages")].toArray();
    QCOMPARE(sent.size(), 3);
    QCOMPARE(sent[1][QLatin1String("content")].toString(), answer.content);
    model.flush();
    QVERIFY(world.stored(model.store().owner().value()) == QList<Chat>{*model.store().chat(chat)});
    model.copyLastAnswer();
    QCOMPARE(world.clipboard, world.last(chat).content);
}

void TestAnswers::streamingTouchesOneMessage() {
    World world;
    world.signIn();
    world.holdInTheMiddle();
    const QString chat = world.send(QStringLiteral("Count"));
    QVERIFY(world.waitForText(chat));
    QVERIFY(world.control.wait(chatPath, QStringLiteral("held")));
    world.page.takeCalls();
    QStringList touched;
    int otherSignals = 0;
    const auto count = [&] { ++otherSignals; };
    const ChatStore& store = world.model().store();
    QObject::connect(&store, &ChatStore::messageChanged, &world.page, [&](const QString&, const QString& id) {
        if (world.model().isAnswering(chat) && world.last(chat).pending)
            touched.append(id);
    });
    QObject::connect(&store, &ChatStore::chatChanged, &world.page, count);
    QObject::connect(&store, &ChatStore::chatMoved, &world.page, count);
    world.control.releaseAll();
    QVERIFY(world.waitForEnd(chat));
    QVERIFY(touched.size() >= 1);
    touched.removeDuplicates();
    QCOMPARE(touched, QStringList{world.last(chat).id});
    QCOMPARE(otherSignals, 0);
    QStringList functions = functionsOf(world.page.takeCalls());
    functions.removeDuplicates();
    QCOMPARE(functions, (QStringList{QStringLiteral("upsert"), QStringLiteral("setBusy")}));
    QCOMPARE(world.last(chat).content, answerText);
}

void TestAnswers::titleOnlyOfTheFirstExchange() {
    World world;
    world.signIn();
    AppModel& model = world.model();
    const auto nextTitle = [&](const char* title) {
        world.control.next({{QStringLiteral("path"), chatPath},
                            {QStringLiteral("headers"),
                             QJsonObject{{QStringLiteral("X-Teskal-Title"), QLatin1String(title)}}}});
    };
    const auto titleOf = [&](const QString& chat) { return model.store().chat(chat)->title; };
    nextTitle("");
    const QString chat = world.send(QStringLiteral(" A question "));
    QVERIFY(world.waitForEnd(chat));
    QCOMPARE(titleOf(chat), QStringLiteral("A question"));
    nextTitle("Too%20late");
    model.send(QStringLiteral("Another"));
    QVERIFY(world.waitForEnd(chat));
    QCOMPARE(titleOf(chat), QStringLiteral("A question"));
    model.newChat();
    nextTitle("In%20time");
    const QString second = world.send(QStringLiteral("A question"));
    QVERIFY(world.waitForEnd(second));
    QCOMPARE(titleOf(second), QStringLiteral("In time"));
    nextTitle("Once%20is%20enough");
    model.retry();
    QVERIFY(world.waitForEnd(second));
    QCOMPARE(titleOf(second), QStringLiteral("In time"));
    model.newChat();
    nextTitle("Not%20asked%20for");
    world.control.hold(chatPath);
    const QString third = world.send(QStringLiteral("A question"));
    QVERIFY(world.control.wait(chatPath, QStringLiteral("held")));
    model.renameChat(third, QStringLiteral("Mine"));
    world.control.releaseAll();
    QVERIFY(world.waitForEnd(third));
    QCOMPARE(titleOf(third), QStringLiteral("Mine"));
    nextTitle("Not%20now%20either");
    model.retry();
    QVERIFY(world.waitForEnd(third));
    QCOMPARE(titleOf(third), QStringLiteral("Mine"));
}

void TestAnswers::stopBeforeAnyText() {
    World world;
    world.signIn();
    world.control.hold(chatPath);
    const QString chat = world.send(QStringLiteral("Hello"));
    QVERIFY(world.control.wait(chatPath, QStringLiteral("held")));
    world.model().stop();
    world.model().stop();
    world.model().retry(); // not before it has ended
    QVERIFY(world.waitForEnd(chat));
    QCOMPARE(world.errorOf(chat), stopped);
    QVERIFY(!world.last(chat).pending);
    QVERIFY(!world.model().isBusy());
    QVERIFY(world.control.wait(chatPath, QStringLiteral("finished")));
    QCOMPARE(world.control.lastRequest(chatPath)[QLatin1String("outcome")].toString(),
             QStringLiteral("clientLeft"));
    world.model().stop(); // nothing to stop
    world.model().flush();
    QVERIFY(world.stored(world.model().store().owner().value()).first().messages.last() == world.last(chat));
}

void TestAnswers::failuresComeOntoTheMessage_data() {
    QTest::addColumn<QString>("question");
    QTest::addColumn<QJsonObject>("override");
    QTest::addColumn<QString>("error"); // its beginning
    QTest::newRow("credits") << QStringLiteral("error credits") << QJsonObject()
                             << QStringLiteral("INSUFFICIENT_CREDITS: ");
    QTest::newRow("server") << QStringLiteral("Hi") << QJsonObject{{QStringLiteral("status"), 500}}
                            << QStringLiteral("-: Request failed (500)");
    QTest::newRow("ended session") << QStringLiteral("Hi") << QJsonObject{{QStringLiteral("status"), 401}}
                                   << QStringLiteral(
                                          "SIGNED_OUT: Your session ended. Sign in again to keep chatting.");
    QTest::newRow("lost before the reply")
        << QStringLiteral("Hi") << QJsonObject{{QStringLiteral("drop"), true}}
        << QStringLiteral("OFFLINE: You’re offline. Check your connection and try again.");
    QTest::newRow("lost in the middle")
        << QStringLiteral("a long one") << QJsonObject{{QStringLiteral("truncateAfterBytes"), 50}}
        << QStringLiteral("OFFLINE: You’re offline. Check your connection and try again.");
    QTest::newRow("cut off") << QStringLiteral("cut") << QJsonObject()
                             << QStringLiteral("CUT_OFF: The answer was cut off");
    QTest::newRow("empty") << QStringLiteral("empty") << QJsonObject()
                           << QStringLiteral("-: No answer came back. Try again.");
}

void TestAnswers::failuresComeOntoTheMessage() {
    QFETCH(const QString, question);
    QFETCH(QJsonObject, override);
    QFETCH(const QString, error);
    World world;
    world.signIn();
    if (!override.isEmpty()) {
        override.insert(QStringLiteral("path"), chatPath);
        world.control.next(override);
    }
    const QString chat = world.send(question);
    QVERIFY(world.waitForEnd(chat));
    QVERIFY2(world.errorOf(chat).startsWith(error), qPrintable(world.errorOf(chat)));
    QVERIFY(!world.last(chat).pending);
    QCOMPARE(world.control.requests(chatPath).size(), 1);
    QVERIFY(world.page.takeCalls()
                .filter(QStringLiteral("upsert"))
                .last()
                .contains(QStringLiteral("\"error\":")));
}

void TestAnswers::serviceThatIsGone() {
    World world;
    world.signIn();
    world.service.reset();
    const QString chat = world.send(QStringLiteral("Hi"));
    QVERIFY(world.waitForEnd(chat));
    QCOMPARE(world.errorOf(chat), QStringLiteral("-: ") + HttpError::textFor(HttpError::Kind::Refused));
    QVERIFY(world.model().auth().isSignedIn());
}

void TestAnswers::askAgain() {
    World world;
    world.signIn();
    QVERIFY(!world.model().canRetry());
    const QString chat = world.send(QStringLiteral("error"));
    world.model().retry(); // not while it runs
    QVERIFY(world.waitForEnd(chat));
    const QString failed = world.last(chat).id;
    QVERIFY(world.model().canRetry());
    world.control.next(
        {{QStringLiteral("path"), chatPath},
         {QStringLiteral("rawStream"), QString::fromLatin1(QByteArray("Now it works").toBase64())}});
    world.page.send({{QStringLiteral("type"), QStringLiteral("retry")}});
    QVERIFY(world.model().isBusy());
    QVERIFY(world.waitForEnd(chat));
    QCOMPARE(world.model().store().chat(chat)->messages.size(), 2);
    QVERIFY(world.last(chat).id != failed);
    QCOMPARE(world.last(chat).content, QStringLiteral("Now it works"));
    QCOMPARE(world.errorOf(chat), QString());
    const QJsonValue request = world.control.lastRequest(chatPath)[QLatin1String("json")];
    QCOMPARE(request[QLatin1String("messages")].toArray().size(), 1);
    QCOMPARE(world.control.requests(chatPath).size(), 2);
}

void TestAnswers::twoChatsAtOnce() {
    World world;
    world.signIn();
    world.holdInTheMiddle();
    const QString first = world.send(QStringLiteral("Count"));
    QVERIFY(world.waitForText(first));
    world.model().newChat();
    QVERIFY(!world.model().isBusy());
    world.answerInPieces();
    const QString second = world.send(QStringLiteral("Count too")); // held at the same place
    QVERIFY(second != first);
    QVERIFY(world.waitForText(second));
    QVERIFY(world.model().isAnswering(first) && world.model().isAnswering(second));
    world.model().stop(); // the selected one, and only that
    QVERIFY(world.waitForEnd(second));
    QVERIFY(!world.model().isBusy());
    QVERIFY(world.model().isAnswering(first));
    world.control.releaseAll();
    QVERIFY(world.waitForEnd(first));
    QCOMPARE(world.last(first).content, answerText);
    const ChatMessage stoppedAfterText = world.last(second);
    QVERIFY(!stoppedAfterText.pending && !stoppedAfterText.error && !stoppedAfterText.content.isEmpty());
    QVERIFY(answerText.startsWith(stoppedAfterText.content) && stoppedAfterText.content != answerText);
}

void TestAnswers::anotherChatIsShownMeanwhile() {
    World world;
    world.signIn();
    world.holdInTheMiddle();
    const QString chat = world.send(QStringLiteral("Count"));
    QVERIFY(world.waitForText(chat));
    world.page.takeCalls();
    world.model().select(std::nullopt);
    QCOMPARE(world.page.takeCalls(),
             (QStringList{QStringLiteral("setChat(null)"), QStringLiteral("setBusy(false)")}));
    world.control.releaseAll();
    QVERIFY(world.waitForEnd(chat));
    QCOMPARE(world.page.takeCalls(), QStringList());
    int selected = 0;
    connect(&world.model(), &AppModel::selectionChanged, this, [&] { ++selected; });
    world.model().select(chat);
    world.model().select(chat);
    QCOMPARE(selected, 1);
    const QStringList calls = world.page.takeCalls();
    QCOMPARE(functionsOf(calls), QStringList{QStringLiteral("setChat")});
    QVERIFY(calls.first().contains(answerText));
}

void TestAnswers::generatedMedia() {
    World world;
    world.signIn();
    const QString chat = world.send(QStringLiteral("draw an image of a cat"));
    QVERIFY(world.waitForEnd(chat));
    const Media image = world.last(chat).media.value();
    QCOMPARE(image.type, QStringLiteral("image"));
    QCOMPARE(image.status.value(), QStringLiteral("done"));
    QVERIFY(image.url.value().startsWith(QLatin1String("data:image/png;base64,")));
    world.model().send(QStringLiteral("make a video"));
    QVERIFY(world.waitForEnd(chat));
    const Media video = world.last(chat).media.value();
    QCOMPARE(video.type, QStringLiteral("video"));
    QCOMPARE(video.status.value(), QStringLiteral("pending"));
    QCOMPARE(video.jobToken(), video.requestId);
    QVERIFY(video.startedAt.value() > 1.7e12);
    QVERIFY(!world.last(chat).pending);

    const QJsonValue sent =
        world.control.lastRequest(chatPath)[QLatin1String("json")][QLatin1String("messages")].toArray()[1];
    QVERIFY(
        sent[QLatin1String("content")].toString().startsWith(QLatin1String("[Teskal generated an image")));
    QVERIFY(sent[QLatin1String("attachments")].toArray().size() == 1);

    QJsonObject reply{{QStringLiteral("type"), QStringLiteral("image")},
                      {QStringLiteral("dataUrl"), QStringLiteral("data:image/webp;base64,AA==")},
                      {QStringLiteral("fileId"), QStringLiteral("file-1")},
                      {QStringLiteral("prompt"), QStringLiteral("a cat")}};
    world.control.next({{QStringLiteral("path"), chatPath}, {QStringLiteral("json"), reply}});
    world.model().retry();
    QVERIFY(world.waitForEnd(chat));
    Media stored = image;
    stored.url = reply[QLatin1String("dataUrl")].toString();
    stored.mediaType = QStringLiteral("image/webp");
    stored.fileId = QStringLiteral("file-1");
    stored.prompt = QStringLiteral("a cat");
    QVERIFY(world.last(chat).media == stored);
}

void TestAnswers::deafWhileAnswering() {
    World world;
    world.signIn();
    world.control.hold(chatPath);
    const QString chat = world.send(QStringLiteral("One"));
    world.model().send(QStringLiteral("Two"));
    world.model().setDraft(QStringLiteral("Three"));
    world.model().sendDraft();
    QCOMPARE(world.model().draft(), QStringLiteral("Three"));
    world.page.send(
        {{QStringLiteral("type"), QStringLiteral("send")}, {QStringLiteral("text"), QStringLiteral("Four")}});
    QCOMPARE(world.model().store().chat(chat)->messages.size(), 2);
    QCOMPARE(world.model().store().count(), 1);
    world.control.releaseAll();
    QVERIFY(world.waitForEnd(chat));
    world.model().send(QStringLiteral(" \n\t"));
    QVERIFY(!world.model().isBusy());
}

QTEST_GUILESS_MAIN(TestAnswers)
#include "TestAnswers.moc"
