#include "APIError.h"
#include "AuthError.h"
#include "Chat.h"
#include "ConversationHistory.h"
#include "FailureText.h"
#include "HttpError.h"

#include <QTest>

#include <functional>

using namespace teskal;

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
    void history();
    void failures_data();
    void failures();
};

void TestConversation::history_data() {
    QTest::addColumn<QByteArray>("stored");
    QTest::addColumn<QByteArray>("sent");
    const auto row = [](const char* name, const char* stored, const char* sent) {
        QTest::newRow(name) << QByteArray(stored) << QByteArray(sent);
    };
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

void TestConversation::history() {
    QFETCH(const QByteArray, stored);
    QTEST(encoded(conversationHistory(messages(stored))), "sent");
}

void TestConversation::failures_data() {
    QTest::addColumn<Thrower>("fail");
    QTest::addColumn<QString>("code"); // "-" for none
    QTest::addColumn<QString>("message");
    const QString none = QStringLiteral("-");
    const QString offline = QStringLiteral("You’re offline. Check your connection and try again.");
    const QString ended = QStringLiteral("Your session ended. Sign in again to keep chatting.");
    const auto http = [](HttpError::Kind kind) {
        return Thrower([kind] { throw HttpError(kind, 7, QStringLiteral("detail https://host/secret")); });
    };
    QTest::newRow("service") << Thrower([] {
        throw APIError(402, QStringLiteral("INSUFFICIENT_CREDITS"), QStringLiteral("Empty."));
    }) << QStringLiteral("INSUFFICIENT_CREDITS")
                             << QStringLiteral("Empty.");
    QTest::newRow("service without code")
        << Thrower([] { throw APIError(500, std::nullopt, QStringLiteral("m")); }) << none
        << QStringLiteral("m");
    QTest::newRow("signed out") << Thrower([] { throw AuthError::signedOut(); })
                                << QStringLiteral("SIGNED_OUT") << ended;
    QTest::newRow("sign-in") << Thrower([] { throw AuthError::server(QStringLiteral("Down.")); }) << none
                             << QStringLiteral("Down.");
    using Kind = HttpError::Kind;
    QTest::newRow("no network") << http(Kind::Offline) << QStringLiteral("OFFLINE") << offline;
    QTest::newRow("lost") << http(Kind::ConnectionLost) << QStringLiteral("OFFLINE") << offline;
    QTest::newRow("timed out") << http(Kind::TimedOut) << QStringLiteral("OFFLINE") << offline;
    for (const Kind kind : {Kind::Refused, Kind::HostNotFound, Kind::Certificate, Kind::BrokenReply,
                            Kind::TooLarge, Kind::Other})
        QTest::addRow("other %d", int(kind)) << http(kind) << none << HttpError::textFor(kind);
    QTest::newRow("no memory") << Thrower([] { throw std::bad_alloc(); }) << none
                               << QStringLiteral("std::bad_alloc");
    QTest::newRow("anything else") << Thrower([] { throw Error(QStringLiteral("Odd.")); }) << none
                                   << QStringLiteral("Odd.");
}

void TestConversation::failures() {
    QFETCH(const Thrower, fail);
    try {
        fail();
    } catch (...) {
        const MessageError error = messageError(std::current_exception());
        QTEST(error.code.value_or(QStringLiteral("-")), "code");
        QTEST(error.message, "message");
        return;
    }
    QFAIL("nothing was thrown");
}

QTEST_GUILESS_MAIN(TestConversation)
#include "TestConversation.moc"
