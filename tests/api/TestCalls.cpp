#include "ApiClient.h"
#include "Columns.h"
#include "RecordCodec.h"
#include "TestFiles.h"

using namespace teskal::test;

namespace {

/// One call, run to its end; how it failed, empty when it gave what was expected.
using Call = std::function<QString(const ApiClient&)>;

template<typename T, typename... Parameter, typename Value, typename... Argument>
Call callOf(QCoro::Task<T> (TeskalAPI::*call)(Parameter...) const, Value expected, Argument... arguments) {
    return [=](const ApiClient& client) {
        const auto end = client.run(call, arguments...);
        return !end.value ? end.failure : *end.value == expected ? QString() : u"another value"_qs;
    };
}

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

Q_DECLARE_METATYPE(Call)

/// What each call sends, and what it makes of the reply.
class TestCalls final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void calls_data();
    void calls() {
        FETCH(Call, call, int, status, QByteArray, reply);
        const ApiClient client(RawReply::complete(status, reply));
        QTEST(call(client), "failure");
        QTEST(client.onlyRequest(), "request");
    }

    void passthroughGoesNowhereElse_data() {
        // target: "-" when it is never asked
        columns<QString, QString, QString>("path", "method", "target");
        const auto row = [](const QByteArray& path, const char* target = "-", const char* method = "GET") {
            QTest::addRow("%s %s", method, path.constData())
                << QString::fromUtf8(path) << QString::fromLatin1(method) << QString::fromLatin1(target);
        };
        row("/api/unfurl", "/api/unfurl");
        row("/api/unfurl", "/api/unfurl", "POST");
        row("/api/unfurl?url=https%3A%2F%2Fa.example%2F..%2Fb&x=/../keys",
            "/api/unfurl?url=https%3A%2F%2Fa.example%2F..%2Fb&x=/../keys");
        row("/api/unfurl/image/a%20b", "/api/unfurl/image/a%20b");
        row("/api/unfurl/../unfurl/a", "/api/unfurl/a");
        const QByteArray elsewhere =
            "|/api/keys|api/unfurl|/api/unfurlx|/API/unfurl|/api/unfurl/../keys|/api/unfurl/..|"
            "/api/unfurl/%2e%2e/keys|/api/unfurl/..%2fkeys|/api/unfurl/..%5Ckeys|/api/unfurl\\..\\keys|"
            "/api/unfurl/%252e%252e/keys|/api/unfurl%2f..%2fkeys|/api/unfurl/a%00|/api/unfurl/%zz|"
            "/api/unfurl/\t../keys|/api/unfurl/.\n./keys|/api/unfurl |/api/unfurl#/../keys|"
            "//host/api/unfurl|http://host/api/unfurl|https:/api/unfurl|//u@host/api/unfurl|"
            "/api/./keys/../unfurl|/api/unfurl/\xC3\xA9|/api/unfurl\xEF\xBC\x8F..\xEF\xBC\x8Fkeys";
        for (const QByteArray& path : elsewhere.split('|'))
            row(path);
        for (const char* method : {"DELETE", "PUT", "HEAD", "get", "", "GET /api/keys HTTP/1.1\r\nX:"})
            row("/api/unfurl", "-", method);
    }
    void passthroughGoesNowhereElse() {
        FETCH(QString, path, QString, method, QString, target);
        const ApiClient client(RawReply::complete(200, "seen"));
        const auto reply = client.run(&TeskalAPI::passthrough, path, method, std::nullopt).value.value();
        if (target == u"-") {
            const PassthroughReply refused{403, u"application/json"_qs, u"{\"error\":\"Not allowed\"}"_qs};
            QVERIFY(reply == refused);
            QCOMPARE(client.server.connectionCount(), 0);
            QCOMPARE(client.tokensGiven, 0);
        } else {
            QCOMPARE(reply.body, u"seen"_qs);
            QCOMPARE(client.onlyRequest(), method + QLatin1Char(' ') + target);
        }
    }

    void oddValuesAreNeverSent_data() {
        const auto row = columns<Call, QString>("call", "failure");
        const QByteArrayList ids{"",       "abc",         "../chats",         "a&at=0",
                                 "chat 1", "ch\xC3\xA4t", QByteArray(65, 'a')};
        for (const QByteArray& odd : ids) {
            const QString id = QString::fromUtf8(odd);
            for (const Call& call : {callOf(&TeskalAPI::getChat, std::optional<WireChat>(), id),
                                     callOf(&TeskalAPI::putChat, ChatPutOutcome(), chatOf(id, 1)),
                                     callOf(&TeskalAPI::deleteChat, true, id, 1)})
                row(odd.constData(), call, "API 400 BAD_ID: This chat cannot be synced.");
        }
        for (const char* odd : {"", "image", "../keys", "video?x=", "Video"}) {
            const QString kind = QString::fromLatin1(odd);
            row(odd, callOf(&TeskalAPI::jobStatus, JobStatus(), kind, kind),
                "API 400 BAD_KIND: This job cannot be followed.");
        }
    }
    void oddValuesAreNeverSent() {
        QFETCH(const Call, call);
        const ApiClient client;
        QTEST(call(client), "failure");
        QCOMPARE(client.server.connectionCount(), 0);
    }

    void passthroughReplies_data() {
        const auto row = columns<RawReply, int, QString, QString>("raw", "status", "contentType", "body");
        const QString json = u"application/json"_qs;
        row("failure", RawReply::complete(401, "{\"a\":\xC3\xA9}", "Content-Type: text/x; charset=utf-8\r\n"),
            401, "text/x; charset=utf-8", "{\"a\":é}");
        row("redirect", RawReply::complete(302, "", "Location: /api/keys\r\n"), 302, QString(), QString());
        row("cut", RawReply::head(200, "Content-Length: 9\r\n").send("x").close(), 502, json,
            R"({"error":"Offline"})");
        row("too large", RawReply::head(200, "Content-Length: 5000000\r\n").pause(), 502, json,
            R"({"error":"Offline"})");
    }
    void passthroughReplies() {
        QFETCH(const RawReply, raw);
        const ApiClient client(raw);
        const auto reply =
            client.run(&TeskalAPI::passthrough, u"/api/unfurl"_qs, u"GET"_qs, u"{\"b\":1}"_qs).value.value();
        QTEST(reply.status, "status");
        QTEST(reply.contentType, "contentType");
        QTEST(reply.body, "body");
        QCOMPARE(client.onlyRequest(), u"GET /api/unfurl {\"b\":1}"_qs);
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
        const ApiClient client(RawReply::complete(status, body, headers));
        FolderDocument document;
        document.assignments.append({u"chat-1"_qs, std::nullopt, 1'700'000'000'000.0});
        const auto end = client.run(&TeskalAPI::syncFolders, document, std::nullopt);
        QCOMPARE((end.value ? text(*end.value) : end.failure).toUtf8(), reply);
        QCOMPARE(client.onlyRequest(),
                 u"PUT /api/folders {\"folders\":[],\"assignments\":[{\"chatId\":\"chat-1\","
                 "\"updatedAt\":1700000000000}],\"deleted\":{}}"_qs);
    }

    void foldersOfAnotherSession() {
        const ApiClient client(RawReply::complete(200, "{}"));
        QVERIFY(client.run(&TeskalAPI::syncFolders, FolderDocument(), u"earlier"_qs).value);
        QVERIFY(client.onlyRequest("earlier").startsWith(u"PUT /api/folders {"));
        QCOMPARE(client.tokensGiven, 0);
    }

    void upload_data() {
        const auto row = columns<int, QByteArray, QString>("status", "reply", "outcome");
        const QString notStored = u"API 502 -: The file wasn’t stored."_qs;
        row("stored", 200, R"({"id": "file-1", "size": 4})", "file-1");
        row("no id", 200, "{}", notStored);
        row("id of another type", 201, R"({"id": 7})", notStored);
        row("not JSON", 200, "file-1", notStored);
        row("too large", 413, R"({"error": "Too large"})", "API 413 -: Too large");
    }
    void upload() {
        FETCH(int, status, QByteArray, reply);
        const QByteArray bytes("\0\xFF\r\n", 4);
        const ApiClient client(RawReply::complete(status, reply));
        const auto end = client.run(&TeskalAPI::uploadFile, bytes, u"image/png"_qs);
        QTEST(end.value.value_or(end.failure), "outcome");
        QVERIFY(client.onlyRequest().startsWith(u"POST /api/files no JSON: "));
        QCOMPARE(client.server.requests().first().header("Content-Type").value(), "image/png");
        QVERIFY(client.server.requests().first().body == bytes);
    }

    void download_data() {
        const auto row = columns<int, QByteArray, QString>("status", "headers", "outcome");
        row("plain", 200, "Content-Type: video/mp4\r\n", "video/mp4");
        row("with parameters", 200, "Content-Type: text/plain ; charset=utf-8; x=y\r\n", "text/plain");
        row("without a type", 200, "", "application/octet-stream");
        row("parameters alone", 200, "Content-Type: ;charset=utf-8\r\n", "application/octet-stream");
        row("unknown", 404, "Content-Type: text/plain\r\n", "API 404 -: bytes");
    }
    void download() {
        FETCH(int, status, QByteArray, headers);
        const QByteArray body = R"({"error": "bytes"})";
        const ApiClient client(RawReply::complete(status, body, headers));
        const QTemporaryDir folder;
        const QString path = folder.filePath(u"file"_qs);
        const auto end = client.run(&TeskalAPI::downloadFile, u"a&id=b%/é+?~"_qs, path);
        QTEST(end.value.value_or(end.failure), "outcome");
        QCOMPARE(client.onlyRequest(), u"GET /api/files?id=a%26id%3Db%25%2F%C3%A9%2B%3F~"_qs);
        QCOMPARE(QFile::exists(path), status == 200);
        QCOMPARE(contentOf(path), status == 200 ? body : QByteArray());
    }
};

// Outside of the class: the meta-object compiler does not see the ends of these raw strings.
void TestCalls::calls_data() {
    // failure: empty when the call gives what it expects
    const auto row =
        columns<Call, QString, int, QByteArray, QString>("call", "request", "status", "reply", "failure");
    const auto billing = [](Billing expected, bool fresh = false) {
        return callOf(&TeskalAPI::billing, std::move(expected), fresh);
    };
    row("billing", billing({true, 1200, 0.25, u"e"_qs}), "GET /api/billing", 200,
        R"({"enabled": true, "balance": 1200.0, "creditUsd": 0.25, "error": "e"})");
    row("billing, fresh", billing({}, true), "GET /api/billing?fresh", 200, R"({"enabled": false})");
    row("half a credit", billing({}), "GET /api/billing", 200, R"({"enabled": true, "balance": 0.5})",
        "JSON");

    const Call checkout = callOf(&TeskalAPI::checkout, QUrl(u"https://pay.example/c?a=b"_qs), 500);
    const char* purchase = R"(POST /api/billing {"credits":500,"returnTo":"/chat"})";
    const char* noPage = "API 502 -: Could not start checkout.";
    row("checkout", checkout, purchase, 200, R"({"url": "https://pay.example/c?a=b"})");
    row("checkout without a page", checkout, purchase, 200, "{}", noPage);
    row("checkout at a file", checkout, purchase, 200, R"({"url": "file:///etc/passwd"})", noPage);
    row("checkout without JSON", checkout, purchase, 200, "https://pay.example", noPage);

    const APIKeyList list{{{u"k"_qs, u"n"_qs, u"tkl_sk_a"_qs, 1, 2.5, std::nullopt}}, true};
    row("keys", callOf(&TeskalAPI::listKeys, list), "GET /api/keys", 200,
        R"({"enabled": true, "keys": [{"id": "k", "name": "n", "prefix": "tkl_sk_a", "createdAt": 1,
            "revokedAt": 2.5, "lastUsedAt": null}]})");
    const NewAPIKey key{u"k"_qs, std::nullopt, u"tkl_sk_abc"_qs};
    row("new key", callOf(&TeskalAPI::createKey, key, u"My \"key\""_qs),
        R"(POST /api/keys {"name":"My \"key\""})", 201, R"({"secret": "tkl_sk_abc", "id": "k"})");
    const Call revoke = callOf(&TeskalAPI::revokeKey, true, u"k-1"_qs);
    row("revoked key", revoke, R"(DELETE /api/keys {"id":"k-1"})", 204, "");
    row("unknown key", revoke, R"(DELETE /api/keys {"id":"k-1"})", 404, "",
        "API 404 -: Request failed (404)");

    const QList<PoolModel> pool{{u"a"_qs, u"A"_qs, u"L"_qs, Health{9, 0.5, 0}},
                                {u"b"_qs, u"B"_qs, std::nullopt, std::nullopt}};
    row("pool", callOf(&TeskalAPI::pool, pool), "GET /api/routes", 200,
        R"({"pool": [{"id": "a", "name": "A", "lab": "L", "health": {"samples": 9, "ttft": 0.5,
            "errorRate": 0}}, {"id": "b", "name": "B"}]})");

    const auto settings = [](SettingsReply expected) {
        return callOf(&TeskalAPI::settings, std::move(expected));
    };
    const ModelOption option{u"o"_qs, {u"x"_qs, u"z"_qs}, u"O"_qs, u"L"_qs, u"text"_qs};
    row("settings", settings({{true, {u"x"_qs, u"y"_qs}}, {option}, 3, false}), "GET /api/settings", 200,
        R"({"settings": {"anonymize": true, "disabledModels": ["x", "y"]}, "anonymizeCredits": 3,
            "enabled": false,
            "models": [{"id": "o", "ids": ["x", "z"], "name": "O", "lab": "L", "kind": "text"}]})");
    row("least settings", settings({}), "GET /api/settings", 200,
        R"({"settings": {"anonymize": false, "disabledModels": []}, "models": []})");
    const auto save = [](std::optional<bool> anonymize, std::optional<QStringList> models) {
        return callOf(&TeskalAPI::saveSettings, AccountSettings{true, {u"m"_qs}}, anonymize, models);
    };
    const QByteArray saved = R"({"settings": {"anonymize": true, "disabledModels": ["m"]}})";
    row("save one", save(true, std::nullopt), R"(PUT /api/settings {"anonymize":true})", 200, saved);
    row("save the other", save(std::nullopt, QStringList()), R"(PUT /api/settings {"disabledModels":[]})",
        200, saved);

    row("transcribe", callOf(&TeskalAPI::transcribe, u"Grüße"_qs, QByteArray("RIFF"), u"audio/wav"_qs),
        "POST /api/transcribe no JSON: RIFF", 200, R"({"text": "Grüße"})");
    const QByteArray bytes("\0\xFF{", 3);
    row("speech", callOf(&TeskalAPI::speech, bytes, u"Say\nit"_qs), R"(POST /api/speech {"text":"Say\nit"})",
        200, bytes);

    const ChatList chats{
        true, {{u"c-1a"_qs, u"One"_qs, 1'700'000'000'001.0, false}, {u"c-2b"_qs, std::nullopt, 1.5, true}}};
    const auto listing = [&](const char* name, int status, const QByteArray& reply, const QString& failure) {
        row(name, callOf(&TeskalAPI::listChats, chats), "GET /api/chats", status, reply, failure);
    };
    listing("chats", 200, R"({"enabled": true, "chats": [
                              {"id": "c-1a", "title": "One", "updatedAt": 1700000000001, "new": [1]},
                              {"id": "c-2b", "updatedAt": 1.5, "deleted": true}], "page": 1})",
            {});
    listing("chats without a time", 200, R"({"enabled": true, "chats": [{"id": "c-1a"}]})", u"JSON"_qs);
    listing("no list of chats", 200, R"({"enabled": true})", u"JSON"_qs);
    listing("no answer about chats", 200, {}, u"JSON"_qs);
    listing("chats, signed out", 401, {},
            u"API 401 SIGNED_OUT: Your session ended. Sign in again to keep chatting."_qs);

    const auto getting = [&](const char* name, int status, const QByteArray& reply, const QString& failure,
                             const std::optional<WireChat>& found = {}) {
        row(name, callOf(&TeskalAPI::getChat, found, u"a-_9"_qs), "GET /api/chats?id=a-_9", status, reply,
            failure);
    };
    getting("chat", 200, R"({"chat": {"id": "a-_9", "updatedAt": 12}})", {}, chatOf(u"a-_9"_qs, 12));
    getting("unknown chat", 404, R"({"error": "Not found"})", {});
    getting("gone chat", 410, R"({"error": "Gone"})", u"API 410 -: Gone"_qs);
    getting("no chat", 200, "{}", u"JSON"_qs);
    getting("chat without a time", 200, R"({"chat": {"id": "a-_9"}})", u"JSON"_qs);

    const auto putting = [&](const char* name, const QByteArray& reply, const ChatPutOutcome& outcome,
                             const QString& failure = {}) {
        WireChat chat = chatOf(u"chat-1"_qs, 1'700'000'000'000.0);
        chat.title = u"“Té”"_qs;
        row(name, callOf(&TeskalAPI::putChat, outcome, chat),
            R"(PUT /api/chats {"chat":{"id":"chat-1","title":"“Té”","updatedAt":1700000000000}})", 200, reply,
            failure);
    };
    const QByteArray newer = R"("chat": {"id": "chat-1", "updatedAt": 13}})";
    const NewerChat there{chatOf(u"chat-1"_qs, 13)};
    putting("saved", R"({"saved": true})", ChatSaved());
    putting("deleted", R"({"deleted": true})", ChatDeleted());
    putting("newer", "{" + newer, there);
    putting("saved before all", R"({"deleted": true, "saved": true, )" + newer, ChatSaved());
    putting("deleted before newer", R"({"deleted": true, "saved": false, )" + newer, ChatDeleted());
    putting("newer, others denied", R"({"deleted": false, "saved": false, )" + newer, there);
    putting("nothing said of the chat", R"({"chat": null})", ChatSaved());
    putting("chat of another shape", R"({"chat": {"id": 5}})", {}, u"JSON"_qs);
    putting("not an object", "true", {}, u"JSON"_qs);
    row("time of a deletion in full", callOf(&TeskalAPI::deleteChat, true, u"chat-1"_qs, 1'700'000'000'000.0),
        "DELETE /api/chats?id=chat-1&at=1700000000000", 204, "");
}

QTEST_GUILESS_MAIN(TestCalls)
#include "TestCalls.moc"
