#include "ChatClient.h"
#include "Columns.h"
#include "RawHttpServer.h"

using namespace teskal::test;
using namespace std::chrono_literals;

namespace {

const QByteArray chunked = "Content-Type: text/plain\r\nTransfer-Encoding: chunked\r\n";

QString httpOutcome(HttpError::Kind kind) {
    return u"HTTP %1"_qs.arg(int(kind));
}

QStringList listOf(std::initializer_list<const char*> texts) {
    QStringList list;
    for (const char* text : texts)
        list.append(QString::fromUtf8(text));
    return list;
}

} // namespace

/// Answers over time: when texts are told, and how the call ends when it does not end well.
class TestChatEnds final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void textsKeepTheirDistance() {
        RawHttpServer server(RawReply::head(200, chunked)
                                 .chunk("a")
                                 .pause()
                                 .chunk("b")
                                 .pause()
                                 .chunk("c")
                                 .pause()
                                 .chunk("d")
                                 .chunk(""));
        ChatClient client(server.url(QString()));
        auto call = client.ask(u"Hi"_qs);
        QVERIFY(waitUntil([&] { return !client.texts.isEmpty(); }));
        const auto waitForTimer = [&] {
            return client.clock.untilNext() <= 33ms && client.clock.untilNext() >= 0ms;
        };
        server.proceed(); // "b", at the same moment
        QVERIFY(waitUntil(waitForTimer));
        QCOMPARE(client.texts, listOf({"a"}));
        client.clock.advance(32ms);
        QCOMPARE(client.texts, listOf({"a"}));
        client.clock.advance(1ms);
        QCOMPARE(client.texts, listOf({"a", "ab"}));
        server.proceed(); // "c", which the end overtakes
        QVERIFY(waitUntil(waitForTimer));
        server.proceed();
        QCOMPARE(outcomeOf(call), u"text: abcd"_qs);
        QCOMPARE(client.texts, listOf({"a", "ab", "abcd"}));
        client.clock.advance(1s);
        QCOMPARE(client.texts.size(), 3);
    }

    void lastTextComesBeforeAnyFailure_data() {
        // reply: "Half" and " an answer", then the failure
        const auto row = columns<RawReply, QString>("reply", "outcome");
        const RawReply begun = RawReply::head(200, chunked).chunk("Half").chunk(" an answer").pause();
        const RawReply sized = RawReply::head(200, "Content-Type: text/plain\r\nContent-Length: 99\r\n")
                                   .send("Half an answer")
                                   .pause();
        row("reset", RawReply(begun).reset(), httpOutcome(HttpError::Kind::ConnectionLost));
        row("closed inside chunks", RawReply(begun).close(), httpOutcome(HttpError::Kind::ConnectionLost));
        row("closed too early", RawReply(sized).close(), httpOutcome(HttpError::Kind::ConnectionLost));
        row("cut off", RawReply(begun).chunk("\x1E{").chunk(""),
            "API 502 CUT_OFF: The answer was cut off before it finished. "
            "Ask again to retry.");
    }
    void lastTextComesBeforeAnyFailure() {
        QFETCH(const RawReply, reply);
        RawHttpServer server(reply);
        ChatClient client(server.url(QString()));
        auto call = client.ask(u"Hi"_qs);
        QVERIFY(waitUntil([&] { return !client.texts.isEmpty(); }));
        server.proceed();
        QTEST(outcomeOf(call), "outcome");
        QCOMPARE(client.texts.last(), u"Half an answer"_qs);
        QCOMPARE(server.requests().size(), 1);
    }

    void stopBeforeAnyText() {
        for (const RawReply& reply :
             {RawReply().pause(), RawReply::head(500, "Content-Length: 99\r\n").send("{").pause()}) {
            RawHttpServer server(reply);
            ChatClient client(server.url(QString()));
            auto call = client.ask(u"Hi"_qs);
            QVERIFY(waitUntil([&] { return server.pausedCount() == 1; }));
            call.stop();
            QCOMPARE(outcomeOf(call), u"Cancelled"_qs);
            QVERIFY(client.told.isEmpty());
            QVERIFY(waitUntil([&] { return server.openConnections() == 0; }));
        }
    }

    void stopInTheMiddleTellsTheLastText() {
        RawHttpServer server(RawReply::head(200, chunked).chunk("a").pause().chunk("b\xC3").pause());
        ChatClient client(server.url(QString()));
        auto call = client.ask(u"Hi"_qs);
        QVERIFY(waitUntil([&] { return !client.texts.isEmpty(); }));
        server.proceed();
        QVERIFY(waitUntil([&] { return client.clock.untilNext() <= 33ms; })); // "ab" waits for its time
        call.stop();
        QCOMPARE(outcomeOf(call), u"Cancelled"_qs);
        QCOMPARE(client.texts, listOf({"a", "ab"})); // what is half there is not made a replacement character
        QVERIFY(waitUntil([&] { return server.openConnections() == 0; }));
    }

    void silenceEndsAfterFifteenMinutes_data() {
        const auto row = columns<RawReply>("reply");
        RawReply nothing;
        row("before the headers", nothing.pause());
        row("in the middle", RawReply::head(200, chunked).chunk("Half").pause());
    }
    void silenceEndsAfterFifteenMinutes() {
        QFETCH(const RawReply, reply);
        RawHttpServer server(reply);
        ChatClient client(server.url(QString()));
        auto call = client.ask(u"Hi"_qs);
        const bool hasText = reply.steps().size() > 1;
        QVERIFY(waitUntil([&] { return server.pausedCount() == 1 && client.texts.isEmpty() != hasText; }));
        runQueued();
        client.clock.advance(899s);
        runQueued();
        QVERIFY(!call.isDone());
        client.clock.advance(1s);
        QCOMPARE(outcomeOf(call), httpOutcome(HttpError::Kind::TimedOut));
    }
};

QTEST_GUILESS_MAIN(TestChatEnds)
#include "TestChatEnds.moc"
