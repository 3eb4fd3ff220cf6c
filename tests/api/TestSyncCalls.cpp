#include "ApiClient.h"
#include "Columns.h"
#include "RecordCodec.h"

#include <QTest>

using namespace teskal;
using namespace teskal::test;

namespace {

const QString badId = QStringLiteral("API 400 BAD_ID: This chat cannot be synced.");

WireChat chatOf(const QString& id, double updatedAt) {
    WireChat chat;
    chat.id = id;
    chat.updatedAt = updatedAt;
    return chat;
}

QString text(const FolderSyncReply& reply) {
    QString line = QString::number(reply.status);
    line += reply.document ? QString::fromUtf8(encodeFolderDocument(*reply.document)) : QStringLiteral(" -");
    line += reply.serverTime ? QStringLiteral(" %1").arg(*reply.serverTime, 0, 'f', 1) : QStringLiteral(" -");
    return line + QLatin1Char(' ') + reply.error.value_or(QStringLiteral("-"));
}

} // namespace

/// The exchange of chats and folders: what is sent, and what each reply means.
class TestSyncCalls final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void listChats_data() {
        const auto row = columns<int, QByteArray, QString>("status", "body", "failure");
        row("all", 200, R"({"enabled": true, "chats": [
                                {"id": "c-1a", "title": "One", "updatedAt": 1700000000001, "new": [1]},
                                {"id": "c-2b", "updatedAt": 1.5, "deleted": true}], "page": 1})",
            QString());
        row("without a time", 200, R"({"enabled": true, "chats": [{"id": "c-1a"}]})", "JSON");
        row("without chats", 200, R"({"enabled": true})", "JSON");
        row("empty", 200, QByteArray(), "JSON");
        row("401", 401, QByteArray(),
            "API 401 SIGNED_OUT: Your session ended. Sign in again to keep chatting.");
    }
    void listChats() {
        QFETCH(const int, status);
        QFETCH(const QByteArray, body);
        QFETCH(const QString, failure);
        RawHttpServer server(RawReply::complete(status, body));
        const ApiClient client(server.url());
        auto call = start([&](std::stop_token stop) { return client.api.listChats(stop); });
        const auto end = ended(call);
        QCOMPARE(end.failure, failure);
        QCOMPARE(onlyRequest(server), QStringLiteral("GET /api/chats"));
        if (!end.value)
            return;
        const ChatList expected{
            true,
            {{QStringLiteral("c-1a"), QStringLiteral("One"), 1'700'000'000'001.0, false},
             {QStringLiteral("c-2b"), std::nullopt, 1.5, true}},
        };
        QVERIFY(end.value == expected);
    }

    void getChat_data() {
        const auto row = columns<int, QByteArray, QString, bool>("status", "body", "failure", "found");
        row("found", 200, R"({"chat": {"id": "a-_9", "updatedAt": 12}})", QString(), true);
        row("unknown", 404, R"({"error": "Not found"})", QString(), false);
        row("410", 410, R"({"error": "Gone"})", "API 410 -: Gone", false);
        row("no chat", 200, "{}", "JSON", false);
        row("chat without a time", 200, R"({"chat": {"id": "a-_9"}})", "JSON", false);
    }
    void getChat() {
        QFETCH(const int, status);
        QFETCH(const QByteArray, body);
        QFETCH(const bool, found);
        RawHttpServer server(RawReply::complete(status, body));
        const ApiClient client(server.url());
        const QString id = QStringLiteral("a-_9");
        auto call = start([&](std::stop_token stop) { return client.api.getChat(id, stop); });
        const auto end = ended(call);
        QTEST(end.failure, "failure");
        QCOMPARE(onlyRequest(server), QStringLiteral("GET /api/chats?id=a-_9"));
        if (end.value)
            QVERIFY(*end.value == (found ? std::optional(chatOf(id, 12)) : std::nullopt));
    }

    void putChat_data() {
        const auto row = columns<QByteArray, QString>("body", "outcome");
        const QByteArray newer = R"("chat": {"id": "chat-1", "updatedAt": 13})";
        row("saved", R"({"saved": true})", "saved");
        row("deleted", R"({"deleted": true})", "deleted");
        row("newer", "{" + newer + "}", "newer 13");
        row("saved before all", R"({"deleted": true, "saved": true, )" + newer + "}", "saved");
        row("deleted before newer", R"({"deleted": true, "saved": false, )" + newer + "}", "deleted");
        row("newer, others denied", R"({"deleted": false, "saved": false, )" + newer + "}", "newer 13");
        row("nothing", R"({"chat": null})", "saved");
        row("chat of another shape", R"({"chat": {"id": 5}})", "JSON");
        row("not an object", "true", "JSON");
    }
    void putChat() {
        QFETCH(const QByteArray, body);
        QFETCH(const QString, outcome);
        RawHttpServer server(RawReply::complete(200, body));
        const ApiClient client(server.url());
        WireChat chat = chatOf(QStringLiteral("chat-1"), 1'700'000'000'000.0);
        chat.title = QStringLiteral("“Té”");
        auto call = start([&](std::stop_token stop) { return client.api.putChat(chat, stop); });
        const auto end = ended(call);
        QString ending = end.failure;
        if (end.value) {
            const auto* newer = std::get_if<NewerChat>(&*end.value);
            ending = newer ? QStringLiteral("newer %1").arg(newer->chat.updatedAt)
                     : std::holds_alternative<ChatDeleted>(*end.value) ? QStringLiteral("deleted")
                                                                       : QStringLiteral("saved");
        }
        QCOMPARE(ending, outcome);
        QCOMPARE(onlyRequest(server),
                 QStringLiteral(
                     R"(PUT /api/chats {"chat":{"id":"chat-1","title":"“Té”","updatedAt":1700000000000}})"));
    }

    void deletionTellsItsTimeInFull() {
        RawHttpServer server(RawReply::complete(204, ""));
        const ApiClient client(server.url());
        waitFor([&](std::stop_token stop) {
            return client.api.deleteChat(QStringLiteral("chat-1"), 1'700'000'000'000.0, stop);
        });
        QCOMPARE(onlyRequest(server), QStringLiteral("DELETE /api/chats?id=chat-1&at=1700000000000"));
    }

    void oddIdentifiersAreNeverSent_data() {
        const auto row = columns<QString>("id");
        for (const char* id : {"", "abc", "../chats", "a&at=0", "chat 1", "ch\xC3\xA4t"})
            row(id, id);
        row("65 characters", QString(65, QLatin1Char('a')));
    }
    void oddIdentifiersAreNeverSent() {
        QFETCH(const QString, id);
        const RawHttpServer server;
        const ApiClient client(server.url());
        auto getting = start([&](std::stop_token stop) { return client.api.getChat(id, stop); });
        auto putting = start([&](std::stop_token stop) { return client.api.putChat(chatOf(id, 1), stop); });
        auto deleting = start([&](std::stop_token stop) { return client.api.deleteChat(id, 1, stop); });
        QCOMPARE(ended(getting).failure, badId);
        QCOMPARE(ended(putting).failure, badId);
        QCOMPARE(ended(deleting).failure, badId);
        QCOMPARE(server.connectionCount(), 0);
    }

    void folders_data() {
        // reply: or the failure
        const auto row =
            columns<int, QByteArray, QByteArray, QByteArray>("status", "body", "headers", "reply");
        const QByteArray document = R"({"folders":[],"assignments":[],"deleted":{"f-1":7}})";
        const QByteArray time = "x-teskal-time: 1700000000000.5\r\n";
        row("document", 200, document, time, "200" + document + " 1700000000000.5 -");
        row("under document", 201, R"({"ok": true, "document": )" + document + "}", "",
            "201" + document + " - -");
        row("part of a document", 200, R"({"deleted":{"f-1":7}})", "", "200" + document + " - -");
        row("no document", 200, R"({"ok": true, "document": null})", "X-Teskal-Time: soon\r\n", "200 - - -");
        row("empty", 200, "", "X-Teskal-Time: nan\r\n", "200 - - -");
        row("not JSON", 200, "<html>", time, "JSON");
        row("array", 200, "[]", time, "JSON");
        row("odd document", 200, R"({"document": []})", time, "JSON");
        row("too large", 413, R"({"error": {"message": "Too many folders."}})", time,
            "413 - 1700000000000.5 Too many folders.");
        row("too large, no words", 413, "<html>", "", "413 - - -");
        row("too large, with the document", 413, document, "", "413" + document + " - -");
        row("401", 401, R"({"error": "Gone"})", time, "API 401 SIGNED_OUT: Gone");
        row("300", 300, document, time, "API 300 -: Request failed (300)");
    }
    void folders() {
        QFETCH(const int, status);
        QFETCH(const QByteArray, body);
        QFETCH(const QByteArray, headers);
        QFETCH(const QByteArray, reply);
        RawHttpServer server(RawReply::complete(status, body, headers));
        const ApiClient client(server.url());
        FolderDocument document;
        document.assignments.append({QStringLiteral("chat-1"), std::nullopt, 1'700'000'000'000.0});
        auto call =
            start([&](std::stop_token stop) { return client.api.syncFolders(document, std::nullopt, stop); });
        const auto end = ended(call);
        QCOMPARE((end.value ? text(*end.value) : end.failure).toUtf8(), reply);
        QCOMPARE(onlyRequest(server),
                 QStringLiteral("PUT /api/folders {\"folders\":[],\"assignments\":[{\"chatId\":\"chat-1\","
                                "\"updatedAt\":1700000000000}],\"deleted\":{}}"));
    }

    void foldersOfAnotherSession() {
        RawHttpServer server(RawReply::complete(200, "{}"));
        const ApiClient client(server.url());
        waitFor([&](std::stop_token stop) {
            return client.api.syncFolders(FolderDocument(), QStringLiteral("earlier"), stop);
        });
        QVERIFY(onlyRequest(server, "earlier").startsWith(QLatin1String("PUT /api/folders {")));
        QCOMPARE(client.tokensGiven, 0);
    }

    void stopEndsTheCall() {
        RawHttpServer server(RawReply::head(404, "Content-Length: 10\r\n").pause());
        const ApiClient client(server.url());
        auto call =
            start([&](std::stop_token stop) { return client.api.getChat(QStringLiteral("chat-1"), stop); });
        QVERIFY(waitUntil([&] { return server.pausedCount() == 1; }));
        call.stop();
        QCOMPARE(ended(call).failure, QStringLiteral("Cancelled"));
        QVERIFY(waitUntil([&] { return server.openConnections() == 0; }));
    }
};

QTEST_GUILESS_MAIN(TestSyncCalls)
#include "TestSyncCalls.moc"
