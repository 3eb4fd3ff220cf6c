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
    const auto same = [&](const char* name, const char* stored) { row(name, stored, stored); };
    same("question and answer",
         R"({"id":"1","role":"user","content":"q"},{"id":"2","role":"assistant","content":"a"})");
    row("failed answer",
        R"({"id":"1","role":"user","content":"q"},{"id":"2","role":"assistant","content":"a","error":)"
        R"({"code":"STOPPED","message":"m"}})",
        R"({"id":"1","role":"user","content":"q"})");
    row("failed without code", R"({"id":"2","role":"assistant","content":"a","error":{"message":"m"}})", "");
    same("cut off with text",
         R"({"id":"2","role":"assistant","content":"a","error":{"code":"CUT_OFF","message":"m"}})");
    row("cut off without text",
        R"({"id":"2","role":"assistant","content":"","error":{"code":"CUT_OFF","message":"m"}})", "");
    row("pending", R"({"id":"2","role":"assistant","content":"half","pending":true})", "");
    row("empty", R"({"id":"2","role":"assistant","content":""})", "");
    same("only a file",
         R"({"id":"1","role":"user","content":"","attachments":[{"name":"n","mediaType":"t"}]})");
    row("song", R"({"id":"2","role":"assistant","content":"","media":{"type":"music","prompt":"rain"}})",
        R"({"id":"2","role":"assistant","content":"[Teskal generated a song: rain]","media":)"
        R"({"type":"music","prompt":"rain"}})");
    row("video without prompt", R"({"id":"2","role":"assistant","content":"","media":{"type":"video"}})",
        R"({"id":"2","role":"assistant","content":"[Teskal generated a video]","media":{"type":"video"}})");
    row("stored image",
        R"({"id":"2","role":"assistant","content":"","media":{"type":"image","url":"data:image/gif;base64,A",)"
        R"("prompt":"cat","fileId":"f","mediaType":"image/webp"}})",
        R"({"id":"2","role":"assistant","content":"[Teskal generated an image: cat]","attachments":)"
        R"([{"name":"generated-image.png","mediaType":"image/webp","fileId":"f"}],"media":{"type":"image",)"
        R"("url":"data:image/gif;base64,A","prompt":"cat","fileId":"f","mediaType":"image/webp"}})");
    row("stored image of no type",
        R"({"id":"2","role":"assistant","content":"x","media":{"type":"image","fileId":"f"}})",
        R"({"id":"2","role":"assistant","content":"x","attachments":[{"name":"generated-image.png",)"
        R"("mediaType":"image/png","fileId":"f"}],"media":{"type":"image","fileId":"f"}})");
    row("inline image",
        R"({"id":"2","role":"assistant","content":"x","media":{"type":"image","url":"data:image/gif;base64,A"}})",
        R"({"id":"2","role":"assistant","content":"x","attachments":[{"name":"generated-image.png",)"
        R"("mediaType":"image/gif","dataUrl":"data:image/gif;base64,A"}],)"
        R"("media":{"type":"image","url":"data:image/gif;base64,A"}})");
    row("inline image of no type",
        R"({"id":"2","role":"assistant","content":"x","media":{"type":"image","url":"data:;base64,A"}})",
        R"({"id":"2","role":"assistant","content":"x","attachments":[{"name":"generated-image.png",)"
        R"("mediaType":"image/png","dataUrl":"data:;base64,A"}],"media":{"type":"image","url":"data:;base64,A"}})");
    same("image elsewhere",
         R"({"id":"2","role":"assistant","content":"x","media":{"type":"image","url":"https://x"}})");
    same("media of a question",
         R"({"id":"1","role":"user","content":"","media":{"type":"image","fileId":"f"}})");
}

QTEST_GUILESS_MAIN(TestConversation)
#include "TestConversation.moc"
