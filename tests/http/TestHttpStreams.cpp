#include "HttpClient.h"

using namespace teskal::test;
using namespace std::chrono_literals;

namespace {

constexpr int megabyte = 1'000'000;

HttpRequest longAnswer(const QUrl& url) {
    HttpRequest request = post(url, "{}");
    request.timeout = 900s;
    request.ownConnection = true;
    return request;
}

} // namespace

/// Replies read piece by piece: order, time-outs, slow readers, many at once.
class TestHttpStreams final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void headComesBeforeTheBody() {
        RawReply reply = RawReply::head(200, "X-Teskal-Model: m\r\nTransfer-Encoding: chunked\r\n");
        RawHttpServer server(reply.pause().chunk("one").pause().chunk("two").chunk(""));
        HttpClient client;
        const auto stream = client.open(longAnswer(server.url())).result();
        QCOMPARE(stream->head().status, 200);
        QCOMPARE(stream->head().headers.value("x-teskal-model").value(), "m");
        auto first = HttpClient::read(*stream);
        server.proceed();
        QCOMPARE(first.result().value(), "one");
        auto second = HttpClient::read(*stream);
        runQueued();
        QVERIFY(!second.isDone());
        server.proceed();
        QCOMPARE(second.result().value(), "two");
        for (int i = 0; i < 2; ++i) // an ended stream stays ended
            QVERIFY(!HttpClient::read(*stream).result());
        QCOMPARE(client.clock.pending(), 0U);
    }

    void everyPieceBeginsTheSilenceAnew() {
        RawHttpServer server(
            RawReply::head(200, "Content-Length: 100\r\n").pause().send("one").pause().send("two").pause());
        HttpClient client;
        const auto stream = client.open(longAnswer(server.url())).result();
        for (const char* piece : {"one", "two"}) {
            auto reading = HttpClient::read(*stream);
            client.clock.advance(899s);
            runQueued();
            QVERIFY(!reading.isDone());
            server.proceed();
            QCOMPARE(reading.result().value(), piece);
        }
        auto last = HttpClient::read(*stream);
        client.clock.advance(900s);
        QCOMPARE(errorOf(last).kind(), HttpError::Kind::TimedOut);
        QCOMPARE(errorOf(HttpClient::read(*stream)).kind(), HttpError::Kind::TimedOut);
    }

    void slowReaderIsNotTimedOut() {
        RawHttpServer server(RawReply::head(200, "Content-Length: 3\r\n").send("one"));
        HttpClient client;
        const auto stream = client.open(get(server.url())).result();
        client.clock.advance(24h);
        const StreamOutcome outcome = HttpClient::readToEnd(*stream).result();
        QVERIFY(!outcome.error);
        QCOMPARE(outcome.bytes, "one");
    }

    void slowReaderHoldsTheSenderBack_data() {
        const auto row = columns<QByteArray, bool>("method", "chunked");
        row("GET, length", "GET", false);
        row("POST, length", "POST", false);
        row("POST, chunked", "POST", true);
    }
    void slowReaderHoldsTheSenderBack() {
        FETCH(QByteArray, method, bool, chunked);
        constexpr int size = 24 * megabyte;
        const QByteArray body(size, 'x');
        const QByteArray length = "Content-Length: " + QByteArray::number(size) + "\r\n";
        RawReply reply = RawReply::head(200, chunked ? QByteArray("Transfer-Encoding: chunked\r\n") : length);
        constexpr int pieceSize = 60'000;
        for (int at = 0; at < size; at += pieceSize)
            chunked ? reply.chunk(body.mid(at, pieceSize)) : reply.send(body.mid(at, pieceSize));
        if (chunked)
            reply.chunk("");

        RawHttpServer slow(reply);
        RawHttpServer quick(reply);
        HttpClient client;
        HttpRequest request(method, slow.url());
        request.ownConnection = true;
        const auto stream = client.open(request).result();
        // While nobody reads the first, the second is read to its end: time enough to arrive, were it let.
        QCOMPARE(client.fetch(longAnswer(quick.url())).result().body.size(), size);
        // The rest sits in the system's buffers.
        QVERIFY2(slow.unsentBytes() > size / 2, QByteArray::number(slow.unsentBytes()).constData());

        const StreamOutcome outcome = HttpClient::readToEnd(*stream).result();
        QVERIFY(!outcome.error);
        QVERIFY(outcome.bytes == body);
    }

    void eightAnswersDoNotHoldUpShortRequests() {
        RawHttpServer server;
        server.setHandler([](const RawRequest& request) {
            if (request.method == "GET")
                return RawReply::complete(200, "short");
            auto reply = RawReply::head(200, "Transfer-Encoding: chunked\r\n");
            return reply.chunk("begun ").pause().chunk("ended").chunk("");
        });
        HttpClient client;
        std::vector<Pending<std::unique_ptr<HttpStream>>> openings;
        for (int i = 0; i < 8; ++i)
            openings.push_back(client.open(longAnswer(server.url())));
        std::vector<std::unique_ptr<HttpStream>> streams;
        for (auto& opening : openings)
            streams.push_back(opening.result());
        QVERIFY(waitUntil([&] { return server.pausedCount() == 8; }));

        std::vector<Pending<HttpResponse>> shorts;
        for (int i = 0; i < 12; ++i)
            shorts.push_back(client.fetch(get(server.url())));
        for (auto& pending : shorts)
            QCOMPARE(pending.result().body, "short");

        server.proceed();
        for (const auto& stream : streams)
            QCOMPARE(HttpClient::readToEnd(*stream).result().bytes, "begun ended");
    }
};

QTEST_GUILESS_MAIN(TestHttpStreams)
#include "TestHttpStreams.moc"
