#include "ChatClient.h"
#include "Columns.h"

using namespace teskal::test;

namespace {

RawReply streamed(const QByteArray& body, const QByteArray& headers = {}, int status = 200) {
    return RawReply::complete(status, body, "Content-Type: text/plain; charset=utf-8\r\n" + headers);
}

RawReply json(const QByteArray& body, const QByteArray& headers = {}) {
    return RawReply::complete(200, body, "Content-Type: application/json\r\n" + headers);
}

} // namespace

/// The request as it goes out, and what is made of a complete reply.
class TestChatCall final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void requestShape_data() {
        const auto row = columns<bool, QString, QByteArray>("isPrivate", "version", "client");
        row("private", true, "2.3.4", "Teskal-macOS/2.3.4");
        row("not private, no version", false, QString(), "Teskal-macOS/1");
    }
    void requestShape() {
        FETCH(bool, isPrivate, QString, version);
        ChatClient client(streamed("Hello"), u"secret-token"_qs, version);
        QCOMPARE(outcomeOf(client.ask({ChatClient::userMessage(u"Hi “you”\n"_qs)}, isPrivate)),
                 u"text: Hello"_qs);

        const RawRequest request = client.server.requests().first();
        QCOMPARE(request.method, "POST");
        QCOMPARE(request.target, "/api/chat");
        QCOMPARE(request.header("Authorization").value(), "Bearer secret-token");
        QTEST(request.header("X-Teskal-Client").value(), "client");
        QCOMPARE(request.header("X-Teskal-Events").value(), "1");
        QCOMPARE(request.header("X-Teskal-Private").value_or("absent"), isPrivate ? "1" : "absent");
        QCOMPARE(request.header("Content-Type").value(), "application/json");
        QCOMPARE(request.body, "{\"messages\":[{\"role\":\"user\",\"content\":\"Hi “you”\\n\"}]}");
    }

    void replies_data();
    void replies() {
        QFETCH(const RawReply, reply);
        ChatClient client(reply);
        QTEST(outcomeOf(client.ask(u"Hi"_qs)), "outcome");
        QCOMPARE(client.server.requests().size(), 1); // whatever comes back, a question is asked once
    }

    void routeComesFirst() {
        ChatClient client(streamed("\x1E{\"type\":\"search\",\"query\":\"x\"}\x1DHi",
                                   "X-Teskal-Model: m-1\r\nX-Teskal-Title: A%20title\r\n"));
        QCOMPARE(outcomeOf(client.ask(u"Hi"_qs)), u"text: Hi"_qs);
        QCOMPARE(client.told,
                 (QStringList{u"route"_qs, u"activity: {\"searches\":[\"x\"]}"_qs, u"text: Hi"_qs}));
        QCOMPARE(client.routes.first().member(u"title"_qs).text().value(), u"A title"_qs);
        QCOMPARE(client.routes.first().object()->size(), 3);
    }

    void routeOfMediaReplies_data() {
        // members: sorted; empty for no call
        const auto row = columns<QByteArray, QByteArray, QStringList>("body", "headers", "members");
        const QByteArray routed = R"({"type":"video","route":{"model":"m","title":"t"}})";
        const QStringList members{u"model"_qs, u"title"_qs};
        row("from the body", routed, "X-Teskal-Lab: ignored\r\n", members);
        row("with the header", routed, "X-Teskal-Anonymized: 3\r\n",
            QStringList{u"anonymized"_qs, u"model"_qs, u"title"_qs});
        row("none", R"({"type":"video"})", "X-Teskal-Anonymized: 3\r\n", QStringList{});
        row("no object", R"({"type":"video","route":"m"})", QByteArray(), QStringList{});
        row("before the error", R"({"type":"image","route":{"model":"m"}})", QByteArray(),
            QStringList{u"model"_qs});
    }
    void routeOfMediaReplies() {
        FETCH(QByteArray, body, QByteArray, headers, QStringList, members);
        ChatClient client(json(body, headers));
        outcomeOf(client.ask(u"Hi"_qs));
        QCOMPARE(client.told.size(), members.isEmpty() ? 0 : 1);
        QCOMPARE(client.routes.isEmpty() ? QStringList()
                                         : QStringList(client.routes.first().object()->keys()),
                 members);
    }
};

// Outside of the class: the meta-object compiler does not see the ends of these raw strings.
void TestChatCall::replies_data() {
    const auto row = columns<RawReply, QString>("reply", "outcome");
    const QString empty = u"API 502 -: No answer came back. Try again."_qs;
    const QString cutOff =
        u"API 502 CUT_OFF: The answer was cut off before it finished. Ask again to retry."_qs;
    const QString noImage = u"API 502 -: The image didn’t come back. Try again."_qs;
    const QString unknown =
        u"API 502 -: Teskal sent something this app doesn’t understand yet. Update the app."_qs;
    row("untrimmed text", streamed(" Hello \n"), "text:  Hello \n");
    row("no content type", RawReply::complete(200, "{\"type\":\"image\"}"), "text: {\"type\":\"image\"}");
    row("empty", streamed(""), empty);
    row("blank", streamed(" \r\n\t\xE2\x80\xA8 "), empty);
    row("only reports", streamed("\x1E{\"type\":\"phase\",\"phase\":\"p\"}\x1D"), empty);
    row("cut off", streamed("Half\x1E{\"type\""), cutOff);
    row("cut off with a reason", streamed("Half\x1E{\"error\":\"Gone.\"}"), "API 502 CUT_OFF: Gone.");
    row("cut off without text", streamed("\x1E"), cutOff);

    row("status 199", streamed("Hello", {}, 199), "API 199 -: Request failed (199)");
    row("status 299", streamed("Hello", {}, 299), "text: Hello");
    row("status 300", streamed("Hello", {}, 300), "API 300 -: Request failed (300)");
    row("status 402",
        RawReply::complete(402, "{\"error\":{\"code\":\"INSUFFICIENT_CREDITS\",\"message\":\"Empty.\"}}"),
        "API 402 INSUFFICIENT_CREDITS: Empty.");
    row("status 401", RawReply::complete(401, ""),
        "API 401 SIGNED_OUT: Your session ended. Sign in again to keep chatting.");
    row("status 500 as a stream", streamed("\x1E{\"type\"", {}, 500), "API 500 -: Request failed (500)");
    row("error body that breaks off",
        RawReply::head(503, "Content-Length: 100\r\n").send("{\"error\":").close(),
        "API 503 -: Request failed (503)");

    row("image",
        json(R"({"type":"image","dataUrl":"data:image/png;base64,AA==","fileId":"f1","prompt":"a cat"})"),
        "image: data:image/png;base64,AA==, f1, a cat");
    row("image with nulls", json(R"({"type":"image","dataUrl":"data:x","fileId":null,"prompt":3})"),
        "image: data:x, -, -");
    row("image without data", json(R"({"type":"image","fileId":"f1"})"), noImage);
    row("image with mistyped data", json(R"({"type":"image","dataUrl":{"a":1}})"), noImage);
    row("video", json(R"({"type":"video","requestId":"r1","model":"m","prompt":"p"})"), "video: r1, m, p");
    row("bare video", json(R"({"type":"video"})"), "video: -, -, -");
    row("music", json(R"({"type":"music","requestId":"r1","model":"m","lyrics":"la","prompt":"p"})"),
        "music: r1, m, la, p");
    row("content type in capitals",
        RawReply::complete(200, R"({"type":"video"})", "Content-Type: Application/JSON; charset=utf-8\r\n"),
        "video: -, -, -");
    row("later type", json(R"({"type":"hologram"})"), unknown);
    row("no type", json(R"({"dataUrl":"data:x"})"), unknown);
    row("mistyped type", json(R"({"type":["image"]})"), unknown);
    row("array", json(R"([{"type":"image"}])"), unknown);
    row("text instead of JSON", json("Hello"), unknown);
    row("broken JSON", json(R"({"type":"image","dataUrl":"data:)"), unknown);
    row("empty JSON", json(""), unknown);
    row("10,000 levels",
        json("{\"type\":\"image\",\"x\":" + QByteArray(10'000, '[') + QByteArray(10'000, ']') + "}"),
        unknown);
    row("duplicate keys", json(R"({"type":"later","type":"video"})"), "video: -, -, -");
    row("byte-order mark", json("\xEF\xBB\xBF{\"type\":\"video\"}"), "video: -, -, -");
    row("lone surrogate", json(R"({"type":"video","prompt":"a\ud83d"})"), "video: -, -, a\uFFFD");
    row("number out of range", json(R"({"type":"video","seconds":1e400})"), "video: -, -, -");
}

QTEST_GUILESS_MAIN(TestChatCall)
#include "TestChatCall.moc"
