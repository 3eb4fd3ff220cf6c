#include "ChatClient.h"
#include "Columns.h"
#include "TextThrottle.h"

#include <QRandomGenerator>

using namespace teskal::test;
using namespace std::chrono_literals;

namespace {

const RawReply streamed = RawReply::head(200, "Content-Type: text/plain\r\nTransfer-Encoding: chunked\r\n");

/// A streamed answer that pauses after each of its pieces.
RawReply answer(std::initializer_list<const char*> pieces) {
    RawReply reply = streamed;
    for (const char* piece : pieces)
        reply.chunk(piece).pause();
    return reply;
}

QString httpOutcome(HttpError::Kind kind) {
    return u"HTTP %1"_qs.arg(int(kind));
}

} // namespace

/// Answers over time: when texts are told, and how the call ends when it does not end well.
class TestChatEnds final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void textsKeepTheirDistance() {
        ChatClient client(answer({"a", "b", "c"}).chunk("d").chunk(""));
        auto call = client.ask(u"Hi"_qs);
        QVERIFY(waitUntil([&] { return !client.texts.isEmpty(); }));
        const auto waitForTimer = [&] {
            return client.clock.untilNext() <= 33ms && client.clock.untilNext() >= 0ms;
        };
        client.server.proceed(); // "b", at the same moment
        QVERIFY(waitUntil(waitForTimer));
        QCOMPARE(client.texts.join(u' '), u"a"_qs);
        client.clock.advance(32ms);
        QCOMPARE(client.texts.join(u' '), u"a"_qs);
        client.clock.advance(1ms);
        QCOMPARE(client.texts.join(u' '), u"a ab"_qs);
        client.server.proceed(); // "c", which the end overtakes
        QVERIFY(waitUntil(waitForTimer));
        client.server.proceed();
        QCOMPARE(outcomeOf(call), u"text: abcd"_qs);
        QCOMPARE(client.texts.join(u' '), u"a ab abcd"_qs);
        client.clock.advance(1s);
        QCOMPARE(client.texts.size(), 3);
    }

    void lastTextComesBeforeAnyFailure_data() {
        // reply: "Half" and " an answer", then the failure
        const auto row = columns<RawReply, QString>("reply", "outcome");
        const RawReply begun = RawReply(streamed).chunk("Half").chunk(" an answer").pause();
        const RawReply sized = RawReply::head(200, "Content-Type: text/plain\r\nContent-Length: 99\r\n")
                                   .send("Half an answer")
                                   .pause();
        row("reset", RawReply(begun).reset(), httpOutcome(HttpError::Kind::ConnectionLost));
        row("closed inside chunks", RawReply(begun).close(), httpOutcome(HttpError::Kind::ConnectionLost));
        row("closed too early", RawReply(sized).close(), httpOutcome(HttpError::Kind::ConnectionLost));
        row("cut off", RawReply(begun).chunk("\x1E{").chunk(""),
            "API 502 CUT_OFF: The answer was cut off before it finished. Ask again to retry.");
    }
    void lastTextComesBeforeAnyFailure() {
        QFETCH(const RawReply, reply);
        ChatClient client(reply);
        auto call = client.ask(u"Hi"_qs);
        QVERIFY(waitUntil([&] { return !client.texts.isEmpty(); }));
        client.server.proceed();
        QTEST(outcomeOf(call), "outcome");
        QCOMPARE(client.texts.last(), u"Half an answer"_qs);
        QCOMPARE(client.server.requests().size(), 1);
    }

    void stopBeforeAnyText() {
        for (const RawReply& reply :
             {RawReply().pause(), RawReply::head(500, "Content-Length: 99\r\n").send("{").pause()}) {
            ChatClient client(reply);
            auto call = client.ask(u"Hi"_qs);
            QVERIFY(waitUntil([&] { return client.server.pausedCount() == 1; }));
            call.stop();
            QCOMPARE(outcomeOf(call), u"Cancelled"_qs);
            QVERIFY(client.told.isEmpty());
            QVERIFY(waitUntil([&] { return client.server.openConnections() == 0; }));
        }
    }

    void stopInTheMiddleTellsTheLastText() {
        ChatClient client(answer({"a", "b\xC3"}));
        auto call = client.ask(u"Hi"_qs);
        QVERIFY(waitUntil([&] { return !client.texts.isEmpty(); }));
        client.server.proceed();
        QVERIFY(waitUntil([&] { return client.clock.untilNext() <= 33ms; })); // "ab" waits for its time
        call.stop();
        QCOMPARE(outcomeOf(call), u"Cancelled"_qs);
        QCOMPARE(client.texts.join(u' '), u"a ab"_qs); // no replacement character for what is half there
        QVERIFY(waitUntil([&] { return client.server.openConnections() == 0; }));
    }

    void silenceEndsAfterFifteenMinutes_data() {
        rows<RawReply>("reply",
                       {{"before the headers", RawReply().pause()}, {"in the middle", answer({"Half"})}});
    }
    void silenceEndsAfterFifteenMinutes() {
        QFETCH(const RawReply, reply);
        ChatClient client(reply);
        auto call = client.ask(u"Hi"_qs);
        const bool hasText = reply.steps().size() > 1;
        QVERIFY(
            waitUntil([&] { return client.server.pausedCount() == 1 && client.texts.isEmpty() != hasText; }));
        runQueued();
        client.clock.advance(899s);
        runQueued();
        QVERIFY(!call.isDone());
        client.clock.advance(1s);
        QCOMPARE(outcomeOf(call), httpOutcome(HttpError::Kind::TimedOut));
    }

    void neverCloserThanTheInterval() {
        ManualClock clock;
        QString text;
        QList<std::pair<qint64, qsizetype>> deliveries; // when, and which length
        TextThrottle throttle(clock, text, [&](const QString& delivered) {
            deliveries.append({clock.steadyMs(), delivered.size()});
        });
        QRandomGenerator random(22);
        for (int step = 0; step < 2'000; ++step) {
            clock.advance(std::chrono::milliseconds(random.bounded(12)));
            text.append(u'x');
            throttle.update();
        }
        clock.advance(TextThrottle::interval);
        QCOMPARE(deliveries.last().second, text.size());
        for (qsizetype i = 1; i < deliveries.size(); ++i)
            QVERIFY(deliveries[i].first - deliveries[i - 1].first >= 33);
        // Not slower than need be either: some text waits all the time.
        QVERIFY(deliveries.size() > clock.steadyMs() / 45);
    }
};

QTEST_GUILESS_MAIN(TestChatEnds)
#include "TestChatEnds.moc"
