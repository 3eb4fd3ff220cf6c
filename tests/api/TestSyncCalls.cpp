#include "ApiClient.h"
#include "Columns.h"
#include "RecordCodec.h"

using namespace teskal::test;

namespace {

const QString badId = u"API 400 BAD_ID: This chat cannot be synced."_qs;

WireChat chatOf(const QString& id, double updatedAt) {
    WireChat chat;
    chat.id = id;
    chat.updatedAt = updatedAt;
    return chat;
}

QString text(const FolderSyncReply& reply) {
    QString line = QString::number(reply.status);
    line += reply.document ? QString::fromUtf8(encodeFolderDocument(*reply.document)) : u" -"_qs;
    line += reply.serverTime ? u" %1"_qs.arg(*reply.serverTime, 0, 'f', 1) : u" -"_qs;
    return line + QLatin1Char(' ') + reply.error.value_or(u"-"_qs);
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
        FETCH(int, status, QByteArray, body, QString, failure);
        RawHttpServer server(RawReply::complete(status, body));
        const ApiClient client(server.url());
        auto call = start([&](std::stop_token stop) { return client.api.listChats(stop); });
        const auto end = ended(call);
        QCOMPARE(end.failure, failure);
        QCOMPARE(onlyRequest(server), u"GET /api/chats"_qs);
        if (!end.value)
            return;
        const ChatList expected{
            true,
            {{u"c-1a"_qs, u"One"_qs, 1'700'000'000'001.0, false}, {u"c-2b"_qs, std::nullopt, 1.5, true}},
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
        FETCH(int, status, QByteArray, body, bool, found);
        RawHttpServer server(RawReply::complete(status, body));
        const ApiClient client(server.url());
        const QString id = u"a-_9"_qs;
        auto call = start([&](std::stop_token stop) { return client.api.getChat(id, stop); });
        const auto end = ended(call);
        QTEST(end.failure, "failure");
        QCOMPARE(onlyRequest(server), u"GET /api/chats?id=a-_9"_qs);
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
        FETCH(QByteArray, body, QString, outcome);
        RawHttpServer server(RawReply::complete(200, body));
        const ApiClient client(server.url());
        WireChat chat = chatOf(u"chat-1"_qs, 1'700'000'000'000.0);
        chat.title = u"“Té”"_qs;
        auto call = start([&](std::stop_token stop) { return client.api.putChat(chat, stop); });
        const auto end = ended(call);
        QString ending = end.failure;
        if (end.value) {
            const auto* newer = std::get_if<NewerChat>(&*end.value);
            ending = newer ? u"newer %1"_qs.arg(newer->chat.updatedAt)
                     : std::holds_alternative<ChatDeleted>(*end.value) ? u"deleted"_qs
                                                                       : u"saved"_qs;
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
            return client.api.deleteChat(u"chat-1"_qs, 1'700'000'000'000.0, stop);
        });
        QCOMPARE(onlyRequest(server), u"DELETE /api/chats?id=chat-1&at=1700000000000"_qs);
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
        FETCH(int, status, QByteArray, body, QByteArray, headers, QByteArray, reply);
        RawHttpServer server(RawReply::complete(status, body, headers));
        const ApiClient client(server.url());
        FolderDocument document;
        document.assignments.append({u"chat-1"_qs, std::nullopt, 1'700'000'000'000.0});
        auto call =
            start([&](std::stop_token stop) { return client.api.syncFolders(document, std::nullopt, stop); });
        const auto end = ended(call);
        QCOMPARE((end.value ? text(*end.value) : end.failure).toUtf8(), reply);
        QCOMPARE(onlyRequest(server),
                 u"PUT /api/folders {\"folders\":[],\"assignments\":[{\"chatId\":\"chat-1\","
                 "\"updatedAt\":1700000000000}],\"deleted\":{}}"_qs);
    }

    void foldersOfAnotherSession() {
        RawHttpServer server(RawReply::complete(200, "{}"));
        const ApiClient client(server.url());
        waitFor([&](std::stop_token stop) {
            return client.api.syncFolders(FolderDocument(), u"earlier"_qs, stop);
        });
        QVERIFY(onlyRequest(server, "earlier").startsWith(u"PUT /api/folders {"));
        QCOMPARE(client.tokensGiven, 0);
    }
};

QTEST_GUILESS_MAIN(TestSyncCalls)
#include "TestSyncCalls.moc"
