#include "APIError.h"
#include "AuthError.h"
#include "Chat.h"
#include "Columns.h"
#include "ConversationHistory.h"
#include "FailureText.h"
#include "HttpError.h"

#include <functional>

using namespace teskal::test;

namespace {

QByteArray chatWith(const QByteArray& messages) {
    return R"([{"id":"c","title":"t","createdAt":1,"updatedAt":1,"messages":[)" + messages + "]}]";
}

QList<ChatMessage> messages(const QByteArray& json) {
    return decodeChats(chatWith(json)).first().messages;
}

QByteArray encoded(const QList<ChatMessage>& list) {
    Chat chat;
    chat.messages = list;
    const QByteArray json = encodeChats({chat});
    const qsizetype from = json.indexOf("\"messages\":[") + 12;
    return json.mid(from, json.size() - from - 3);
}

using Thrower = std::function<void()>;

} // namespace

Q_DECLARE_METATYPE(Thrower)

/// What of a conversation is sent again, and what failures leave on a message.
class TestConversation final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void history_data();

    void history() {
        QFETCH(const QByteArray, stored);
        QTEST(encoded(conversationHistory(messages(stored))), "sent");
    }

    void failures_data() {
        // code: "-" for none
        const auto row = columns<Thrower, QString, QString>("fail", "code", "message");
        const QString none = u"-"_qs;
        const QString offline = u"You’re offline. Check your connection and try again."_qs;
        const QString ended = u"Your session ended. Sign in again to keep chatting."_qs;
        const auto http = [](HttpError::Kind kind) {
            return Thrower([kind] { throw HttpError(kind, 7, u"detail https://host/secret"_qs); });
        };
        row("service", Thrower([] { throw APIError(402, u"INSUFFICIENT_CREDITS"_qs, u"Empty."_qs); }),
            "INSUFFICIENT_CREDITS", "Empty.");
        row("service without code", Thrower([] { throw APIError(500, std::nullopt, u"m"_qs); }), none, "m");
        row("signed out", Thrower([] { throw AuthError::signedOut(); }), "SIGNED_OUT", ended);
        row("sign-in", Thrower([] { throw AuthError::server(u"Down."_qs); }), none, "Down.");
        using Kind = HttpError::Kind;
        row("no network", http(Kind::Offline), "OFFLINE", offline);
        row("lost", http(Kind::ConnectionLost), "OFFLINE", offline);
        row("timed out", http(Kind::TimedOut), "OFFLINE", offline);
        for (const Kind kind : {Kind::Refused, Kind::HostNotFound, Kind::Certificate, Kind::BrokenReply,
                                Kind::TooLarge, Kind::Other})
            QTest::addRow("other %d", int(kind)) << http(kind) << none << HttpError::textFor(kind);
        row("no memory", Thrower([] { throw std::bad_alloc(); }), none, "std::bad_alloc");
        row("anything else", Thrower([] { throw Error(u"Odd."_qs); }), none, "Odd.");
    }

    void failures() {
        QFETCH(const Thrower, fail);
        try {
            fail();
        } catch (...) {
            const MessageError error = messageError(std::current_exception());
            QTEST(error.code.value_or(u"-"_qs), "code");
            QTEST(error.message, "message");
            return;
        }
        QFAIL("nothing was thrown");
    }
};

// Outside of the class: the meta-object compiler does not see the ends of these raw strings.
void TestConversation::history_data() {
    const auto row = columns<QByteArray, QByteArray>("stored", "sent");
    const auto same = [&](const char* name, const QByteArray& stored) { row(name, stored, stored); };
    const auto user = [](const QByteArray& rest) {
        return R"({"id":"1","role":"user","content":)" + rest + '}';
    };
    const auto answer = [](const QByteArray& rest) {
        return R"({"id":"2","role":"assistant","content":)" + rest + '}';
    };
    const QByteArray question = user(R"("q")");
    same("question and answer", question + ',' + answer(R"("a")"));
    row("failed answer", question + ',' + answer(R"("a","error":{"code":"STOPPED","message":"m"})"),
        question);
    row("failed without code", answer(R"("a","error":{"message":"m"})"), "");
    same("cut off with text", answer(R"("a","error":{"code":"CUT_OFF","message":"m"})"));
    row("cut off without text", answer(R"("","error":{"code":"CUT_OFF","message":"m"})"), "");
    row("pending", answer(R"("half","pending":true)"), "");
    row("empty", answer(R"("")"), "");
    same("only a file", user(R"("","attachments":[{"name":"n","mediaType":"t"}])"));
    row("song", answer(R"("","media":{"type":"music","prompt":"rain"})"),
        answer(R"("[Teskal generated a song: rain]","media":{"type":"music","prompt":"rain"})"));
    row("video without prompt", answer(R"("","media":{"type":"video"})"),
        answer(R"("[Teskal generated a video]","media":{"type":"video"})"));
    // What is sent of an image: a file of that type and place beside it.
    const auto image = [&](const char* name, const QByteArray& content, const QByteArray& said,
                           const QByteArray& media, const QByteArray& file) {
        const QByteArray made = R"(,"media":{"type":"image",)" + media + '}';
        row(name, answer(content + made),
            answer(said + R"(,"attachments":[{"name":"generated-image.png","mediaType":)" + file + "}]" +
                   made));
    };
    const QByteArray x = R"("x")";
    image("stored image", R"("")", R"("[Teskal generated an image: cat]")",
          R"("url":"data:image/gif;base64,A","prompt":"cat","fileId":"f","mediaType":"image/webp")",
          R"("image/webp","fileId":"f")");
    image("stored image of no type", x, x, R"("fileId":"f")", R"("image/png","fileId":"f")");
    image("inline image", x, x, R"("url":"data:image/gif;base64,A")",
          R"("image/gif","dataUrl":"data:image/gif;base64,A")");
    image("inline image of no type", x, x, R"("url":"data:;base64,A")",
          R"("image/png","dataUrl":"data:;base64,A")");
    same("image elsewhere", answer(R"("x","media":{"type":"image","url":"https://x"})"));
    same("media of a question", user(R"("","media":{"type":"image","fileId":"f"})"));
}

QTEST_GUILESS_MAIN(TestConversation)
#include "TestConversation.moc"
