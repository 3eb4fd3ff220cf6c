#include "Columns.h"
#include "World.h"

using namespace teskal::test;

namespace {

QStringList functionsOf(const QStringList& calls) {
    QStringList names;
    for (const QString& call : calls)
        names.append(call.section(QLatin1Char('('), 0, 0));
    return names;
}

const QString stopped = u"STOPPED: Stopped before an answer came back."_qs;

} // namespace

/// Questions and answers of one account, over the wire.
class TestAnswers final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void firstConversation() {
        SignedInWorld world;
        AppModel& model = world.model();
        model.setDraft(u"  Hello there \n"_qs);
        model.sendDraft();
        QCOMPARE(model.draft(), QString());
        const QString chat = model.selection().value();
        QVERIFY(model.isBusy());
        QCOMPARE(model.store().chat(chat)->messages.first().content, u"Hello there"_qs);
        QVERIFY(world.last(chat).pending);
        QVERIFY(world.waitForEnd(chat));

        const ChatMessage answer = world.last(chat);
        QVERIFY(!answer.pending && !answer.error && !answer.content.isEmpty());
        QVERIFY(answer.route.value().member(u"model"_qs).string());
        const QString title = answer.route.value().member(u"title"_qs).text().value();
        QCOMPARE(model.store().chat(chat)->title, title);
        const QStringList calls = world.page.takeCalls();
        QCOMPARE(functionsOf(calls).count(u"setChat"_qs), 1);
        const QStringList busy = calls.filter(u"setBusy"_qs);
        QCOMPARE(busy.mid(busy.size() - 2), (QStringList{u"setBusy(true)"_qs, u"setBusy(false)"_qs}));
        QCOMPARE(functionsOf(calls).count(u"scrollToBottom"_qs), 1);

        model.send(u"And now?"_qs);
        QVERIFY(world.waitForEnd(chat));
        QCOMPARE(model.store().chat(chat)->messages.size(), 4);
        const QJsonArray sent = world.control.lastRequest(chatPath)[u"json"][u"messages"].toArray();
        QCOMPARE(sent.size(), 3);
        QCOMPARE(sent[1][u"content"].toString(), answer.content);
        model.flush();
        QVERIFY(world.stored(model.store().owner().value()) == QList<Chat>{*model.store().chat(chat)});
        model.copyLastAnswer();
        QCOMPARE(world.clipboard, world.last(chat).content);
    }

    void streamingTouchesOneMessage() {
        SignedInWorld world;
        world.holdInTheMiddle();
        const QString chat = world.send(u"Count"_qs);
        QVERIFY(world.waitForText(chat));
        QVERIFY(world.control.wait(chatPath, u"held"_qs));
        world.page.takeCalls();
        QStringList touched;
        int otherSignals = 0;
        const auto count = [&] { ++otherSignals; };
        const ChatStore& store = world.model().store();
        QObject::connect(&store, &ChatStore::messageChanged, &world.page,
                         [&](const QString&, const QString& id) {
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
        QCOMPARE(functions, (QStringList{u"upsert"_qs, u"setBusy"_qs}));
        QCOMPARE(world.last(chat).content, answerText);
    }

    void titleOnlyOfTheFirstExchange() {
        SignedInWorld world;
        AppModel& model = world.model();
        const auto nextTitle = [&](const char* title) {
            world.control.next({{u"path"_qs, chatPath},
                                {u"headers"_qs, QJsonObject{{u"X-Teskal-Title"_qs, QLatin1String(title)}}}});
        };
        const auto titleOf = [&](const QString& chat) { return model.store().chat(chat)->title; };
        const auto titleAgain = [&](const QString& chat, const char* title) { // of the same question
            nextTitle(title);
            model.retry();
            return world.waitForEnd(chat) ? titleOf(chat) : QString();
        };
        nextTitle("");
        const QString untitled = world.ask(u" A question "_qs);
        QCOMPARE(titleOf(untitled), u"A question"_qs);
        nextTitle("Too%20late");
        model.send(u"Another"_qs);
        QVERIFY(world.waitForEnd(untitled));
        QCOMPARE(titleOf(untitled), u"A question"_qs);
        model.newChat();
        nextTitle("In%20time");
        const QString titled = world.ask(u"A question"_qs);
        QCOMPARE(titleOf(titled), u"In time"_qs);
        QCOMPARE(titleAgain(titled, "Once%20is%20enough"), u"In time"_qs);
        model.newChat();
        nextTitle("Not%20asked%20for");
        world.control.hold(chatPath);
        const QString renamed = world.send(u"A question"_qs);
        QVERIFY(world.control.wait(chatPath, u"held"_qs));
        model.renameChat(renamed, u"Mine"_qs);
        world.control.releaseAll();
        QVERIFY(world.waitForEnd(renamed));
        QCOMPARE(titleOf(renamed), u"Mine"_qs);
        QCOMPARE(titleAgain(renamed, "Not%20now%20either"), u"Mine"_qs);
    }

    void stopBeforeAnyText() {
        SignedInWorld world;
        world.control.hold(chatPath);
        const QString chat = world.send(u"Hello"_qs);
        QVERIFY(world.control.wait(chatPath, u"held"_qs));
        world.model().stop();
        world.model().stop();
        world.model().retry(); // not before it has ended
        QVERIFY(world.waitForEnd(chat));
        QCOMPARE(world.errorOf(chat), stopped);
        QVERIFY(!world.last(chat).pending && !world.model().isBusy());
        QVERIFY(world.control.wait(chatPath, u"finished"_qs));
        QCOMPARE(world.control.lastRequest(chatPath)[u"outcome"].toString(), u"clientLeft"_qs);
        world.model().stop(); // nothing to stop
        world.model().flush();
        QVERIFY(world.stored(world.model().store().owner().value()).first().messages.last() ==
                world.last(chat));
    }

    void failuresComeOntoTheMessage_data() {
        // error: its beginning
        const auto row = columns<QString, QJsonObject, QString>("question", "override", "error");
        row("credits", "error credits", QJsonObject(), "INSUFFICIENT_CREDITS: ");
        row("server", "Hi", QJsonObject{{u"status"_qs, 500}}, "-: Request failed (500)");
        row("ended session", "Hi", QJsonObject{{u"status"_qs, 401}},
            "SIGNED_OUT: Your session ended. Sign in again to keep chatting.");
        row("lost before the reply", "Hi", QJsonObject{{u"drop"_qs, true}},
            "OFFLINE: You’re offline. Check your connection and try again.");
        row("lost in the middle", "a long one", QJsonObject{{u"truncateAfterBytes"_qs, 50}},
            "OFFLINE: You’re offline. Check your connection and try again.");
        row("cut off", "cut", QJsonObject(), "CUT_OFF: The answer was cut off");
        row("empty", "empty", QJsonObject(), "-: No answer came back. Try again.");
    }

    void failuresComeOntoTheMessage() {
        QFETCH(QJsonObject, override);
        FETCH(QString, question, QString, error);
        SignedInWorld world;
        if (!override.isEmpty()) {
            override.insert(u"path"_qs, chatPath);
            world.control.next(override);
        }
        const QString chat = world.ask(question);
        QVERIFY2(world.errorOf(chat).startsWith(error), qPrintable(world.errorOf(chat)));
        QVERIFY(!world.last(chat).pending);
        QCOMPARE(world.control.requests(chatPath).size(), 1);
        QVERIFY(world.page.takeCalls().filter(u"upsert"_qs).last().contains(u"\"error\":"_qs));
    }

    void askAgain() {
        SignedInWorld world;
        QVERIFY(!world.model().canRetry());
        const QString chat = world.send(u"error"_qs);
        world.model().retry(); // not while it runs
        QVERIFY(world.waitForEnd(chat));
        const QString failed = world.last(chat).id;
        QVERIFY(world.model().canRetry());
        world.control.next({{u"path"_qs, chatPath},
                            {u"rawStream"_qs, QString::fromLatin1(QByteArray("Now it works").toBase64())}});
        world.page.send({{u"type"_qs, u"retry"_qs}});
        QVERIFY(world.model().isBusy());
        QVERIFY(world.waitForEnd(chat));
        QCOMPARE(world.model().store().chat(chat)->messages.size(), 2);
        QVERIFY(world.last(chat).id != failed);
        QCOMPARE(world.last(chat).content, u"Now it works"_qs);
        QCOMPARE(world.errorOf(chat), QString());
        const QJsonValue request = world.control.lastRequest(chatPath)[u"json"];
        QCOMPARE(request[u"messages"].toArray().size(), 1);
        QCOMPARE(world.control.requests(chatPath).size(), 2);
    }

    void twoChatsAtOnce() {
        SignedInWorld world;
        world.holdInTheMiddle();
        const QString first = world.send(u"Count"_qs);
        QVERIFY(world.waitForText(first));
        world.model().newChat();
        QVERIFY(!world.model().isBusy());
        world.answerInPieces();
        const QString second = world.send(u"Count too"_qs); // held at the same place
        QVERIFY(second != first);
        QVERIFY(world.waitForText(second));
        QVERIFY(world.model().isAnswering(first) && world.model().isAnswering(second));
        world.model().stop(); // the selected one, and only that
        QVERIFY(world.waitForEnd(second));
        QVERIFY(!world.model().isBusy() && world.model().isAnswering(first));
        world.control.releaseAll();
        QVERIFY(world.waitForEnd(first));
        QCOMPARE(world.last(first).content, answerText);
        const ChatMessage stoppedAfterText = world.last(second);
        QVERIFY(!stoppedAfterText.pending && !stoppedAfterText.error && !stoppedAfterText.content.isEmpty());
        QVERIFY(answerText.startsWith(stoppedAfterText.content) && stoppedAfterText.content != answerText);
    }

    void generatedMedia() {
        SignedInWorld world;
        const QString chat = world.ask(u"draw an image of a cat"_qs);
        const Media image = world.last(chat).media.value();
        QCOMPARE(image.type, u"image"_qs);
        QCOMPARE(image.status.value(), u"done"_qs);
        QVERIFY(image.url.value().startsWith(u"data:image/png;base64,"));
        world.model().send(u"make a video"_qs);
        QVERIFY(world.waitForEnd(chat));
        const Media video = world.last(chat).media.value();
        QCOMPARE(video.type, u"video"_qs);
        QCOMPARE(video.status.value(), u"pending"_qs);
        QCOMPARE(video.jobToken(), video.requestId);
        QVERIFY(video.startedAt.value() > 1.7e12 && !world.last(chat).pending);

        const QJsonValue sent = world.control.lastRequest(chatPath)[u"json"][u"messages"].toArray()[1];
        QVERIFY(sent[u"content"].toString().startsWith(QLatin1String("[Teskal generated an image")));
        QVERIFY(sent[u"attachments"].toArray().size() == 1);

        QJsonObject reply{{u"type"_qs, u"image"_qs},
                          {u"dataUrl"_qs, u"data:image/webp;base64,AA=="_qs},
                          {u"fileId"_qs, u"file-1"_qs},
                          {u"prompt"_qs, u"a cat"_qs}};
        world.control.next({{u"path"_qs, chatPath}, {u"json"_qs, reply}});
        world.model().retry();
        QVERIFY(world.waitForEnd(chat));
        Media stored = image;
        stored.url = reply[u"dataUrl"].toString();
        stored.mediaType = u"image/webp"_qs;
        stored.fileId = u"file-1"_qs;
        stored.prompt = u"a cat"_qs;
        QVERIFY(world.last(chat).media == stored);
    }

    void deafWhileAnswering() {
        SignedInWorld world;
        world.control.hold(chatPath);
        const QString chat = world.send(u"One"_qs);
        world.model().send(u"Two"_qs);
        world.model().setDraft(u"Three"_qs);
        world.model().sendDraft();
        QCOMPARE(world.model().draft(), u"Three"_qs);
        world.page.send({{u"type"_qs, u"send"_qs}, {u"text"_qs, u"Four"_qs}});
        QCOMPARE(world.model().store().chat(chat)->messages.size(), 2);
        QCOMPARE(world.model().store().count(), 1);
        world.control.releaseAll();
        QVERIFY(world.waitForEnd(chat));
        world.model().send(u" \n\t"_qs);
        QVERIFY(!world.model().isBusy());
    }
};

QTEST_GUILESS_MAIN(TestAnswers)
#include "TestAnswers.moc"
