#include "Columns.h"
#include "WireConversion.h"

#include "RecordCodec.h"

using namespace teskal::test;

namespace {

constexpr double now = 1'800'000'000'000.4;

/// A chat whose messages are the JSON \a messages.
QByteArray chatJson(const QByteArray& messages) {
    return R"({"id": "chat-1", "title": "T", "createdAt": 1, "updatedAt": 2, "messages": [)" + messages +
           "]}";
}

Chat local(const QByteArray& json) {
    return decodeChats('[' + json + ']').first();
}

WireChat wire(const QByteArray& json) {
    return decodeRecord<WireChat>(json, Source::Wire);
}

} // namespace

/// Chats between this machine and the service.
class TestWireConversion final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void toWire_data();
    void toWire() {
        FETCH(QByteArray, messages, QByteArray, sent);
        const WireChat converted = wireChat(local(chatJson(messages)));
        QCOMPARE(encodeRecord(converted), encodeRecord(wire(chatJson(sent))));
    }

    void toLocal_data();

    void toLocal() {
        FETCH(QByteArray, received, QByteArray, existing, QByteArray, messages);
        const Chat here = existing == "-" ? Chat() : local(chatJson(existing));
        const Chat chat = localChat(wire(chatJson(received)), existing == "-" ? nullptr : &here, now);
        QCOMPARE(encodeChats({chat}), encodeChats({local(chatJson(messages))}));
    }

    void chatsOfOtherPrograms_data() {
        const auto row = columns<QByteArray, QString, double>("received", "title", "createdAt");
        const QString none = u"New chat"_qs;
        row("least", R"({"id": "c", "updatedAt": 9})", none, 9.0);
        row("empty title", R"({"id": "c", "updatedAt": 9, "title": "", "createdAt": 3})", none, 3.0);
        row("blank title", R"({"id": "c", "updatedAt": 9, "title": " ", "createdAt": 0})", " ", 0.0);
    }
    void chatsOfOtherPrograms() {
        QFETCH(const QByteArray, received);
        const Chat chat = localChat(wire(received), nullptr, now);
        QTEST(chat.title, "title");
        QTEST(chat.createdAt, "createdAt");
        QCOMPARE(chat.updatedAt, 9.0);
        QVERIFY(chat.messages.isEmpty());
    }
};

// Outside of the class: the meta-object compiler does not see the ends of these raw strings.
void TestWireConversion::toWire_data() {
    const auto row = columns<QByteArray, QByteArray>("messages", "sent");
    // What a medium becomes beside "type" and the status "done".
    const auto media = [&row](const char* name, const QByteArray& members, const QByteArray& sent) {
        const QByteArray begin =
            R"({"id": "m", "role": "assistant", "content": "", "media": {"type": "video")";
        row(name, begin + members + "}}", begin + sent + "}}");
    };
    row("no messages", "", "");
    row("answer arriving", R"({"id": "a", "role": "user", "content": "q"},
                              {"id": "b", "role": "assistant", "content": "half", "pending": true})",
        R"({"id": "a", "role": "user", "content": "q"})");
    row("empty text", R"({"id": "a", "role": "assistant", "content": ""})",
        R"({"id": "a", "role": "assistant", "content": ""})");
    row("route and error, no activity",
        R"({"id": "a", "role": "assistant", "content": "c", "route": {"model": "m"}, "activity": {"phase": "p"},
            "error": {"code": "C", "message": "m"}})",
        R"({"id": "a", "role": "assistant", "content": "c", "route": {"model": "m"},
            "error": {"code": "C", "message": "m"}})");
    row("files",
        R"({"id": "a", "role": "user", "content": "", "attachments": [
            {"name": "n", "mediaType": "t", "fileId": "f-1", "dataUrl": "data:,x", "dropped": true},
            {"name": "here", "mediaType": "t", "dataUrl": "data:,y"},
            {"name": "gone", "mediaType": "t", "dropped": true}]})",
        R"({"id": "a", "role": "user", "content": "", "attachments": [
            {"name": "n", "mediaType": "t", "fileId": "f-1"}]})");
    row("no stored file",
        R"({"id": "a", "role": "user", "content": "", "attachments": [{"name": "n", "mediaType": "t"}]})",
        R"({"id": "a", "role": "user", "content": ""})");
    media("all of a medium",
          R"(, "status": "error", "fileId": "f", "url": "https://u", "mediaType": "t", "prompt": "p",
             "model": "m", "requestId": "r", "lyrics": "l", "message": "x", "startedAt": 5, "dropped": true)",
          R"(, "status": "error", "fileId": "f", "url": "https://u", "mediaType": "t", "prompt": "p",
             "model": "m", "requestId": "r", "lyrics": "l", "message": "x", "startedAt": 5)");
    for (const char* url : {"http://u", "data:image/png;base64,AA", "file:///tmp/x", "HTTPS://u", ""})
        media(qPrintable(u"address "_qs + QString::fromLatin1(url)), QByteArray(R"(, "url": ")") + url + '"',
              R"(, "status": "done")");
    media("token", R"(, "job": "t")", R"(, "status": "done", "operation": {"job": "t"})");
    media("token in the operation", R"(, "operation": {"job": "t", "more": 1})",
          R"(, "status": "done", "operation": {"job": "t"})");
    media("operation without a token", R"(, "operation": {"name": "t"})", R"(, "status": "done")");
}

void TestWireConversion::toLocal_data() {
    // existing: messages of the local chat, "-" for none
    const auto row = columns<QByteArray, QByteArray, QByteArray>("received", "existing", "messages");
    const QByteArray file = R"({"id": "a", "role": "user", "content": "", "attachments": [
                            {"name": "n", "mediaType": "t", "fileId": "f1")";
    const QByteArray video = R"({"id": "b", "role": "assistant", "content": "", "media": {"type": "video")";
    row("least", R"({"id": "a", "role": "user"})", "-", R"({"id": "a", "role": "user", "content": ""})");
    for (const char* role : {"system", "Assistant", ""})
        row(role, QByteArray(R"({"id": "a", "content": "c", "role": ")") + role + "\"}", "-",
            R"({"id": "a", "role": "user", "content": "c"})");
    row("order, route, error",
        R"({"id": "z", "role": "assistant", "route": [1, null], "error": {"message": "e"}},
       {"id": "a", "role": "user"})",
        "-",
        R"({"id": "z", "role": "assistant", "content": "", "route": [1, null], "error": {"message": "e"}},
       {"id": "a", "role": "user", "content": ""})");
    row("file unknown here", file + "}]}", "-", file + "}]}");
    row("file without identifier",
        R"({"id": "a", "role": "user", "attachments": [{"name": "n", "mediaType": "t"}]})", file + "}]}",
        R"({"id": "a", "role": "user", "content": "", "attachments": [{"name": "n", "mediaType": "t"}]})");
    row("file known here", file + "}]}", file + R"(, "dataUrl": "data:,x"}]})",
        file + R"(, "dataUrl": "data:,x"}]})");
    row("the later data counts, in another message", file + "}]}",
        file + R"(, "dataUrl": "data:,old"}]},)" + video + R"(, "fileId": "f1", "url": "data:,new"}})",
        file + R"(, "dataUrl": "data:,new"}]})");
    row("medium known here", video + R"(, "fileId": "f1", "url": "https://u"}})",
        file + R"(, "dataUrl": "data:,x"}]})", video + R"(, "fileId": "f1", "url": "data:,x"}})");
    row("an address is no data", video + R"(, "fileId": "f1"}})",
        video + R"(, "fileId": "f1", "url": "https://u"}})", video + R"(, "fileId": "f1"}})");
    row("all of a medium",
        video + R"(, "status": "done", "fileId": "f", "url": "http://u", "mediaType": "t", "prompt": "p",
               "model": "m", "operation": {"job": "t", "x": 1}, "requestId": "r", "lyrics": "l",
               "message": "x", "startedAt": 5}})",
        "-", video + R"(, "status": "done", "fileId": "f", "url": "http://u", "mediaType": "t", "prompt": "p",
               "model": "m", "operation": {"job": "t", "x": 1}, "job": "t", "requestId": "r",
               "lyrics": "l", "message": "x", "startedAt": 5}})");
    for (const char* operation : {R"({"job": 5})", R"("t")", "{}", R"(["job"])"}) {
        const QByteArray member = QByteArray(R"(, "operation": )") + operation + "}}";
        row(operation, video + member, "-", video + member);
    }
    row("job of another device", video + R"(, "status": "pending"}})", "-",
        video + R"(, "status": "pending", "startedAt": 1800000000000}})");
    row("job with a start", video + R"(, "status": "pending", "startedAt": 7}})", "-",
        video + R"(, "status": "pending", "startedAt": 7}})");
    row("another state", video + R"(, "status": "Pending"}})", "-", video + R"(, "status": "Pending"}})");
}

QTEST_GUILESS_MAIN(TestWireConversion)
#include "TestWireConversion.moc"
