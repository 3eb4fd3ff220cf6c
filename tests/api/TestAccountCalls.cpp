#include "ApiClient.h"
#include "Columns.h"

#include <functional>

using namespace teskal::test;

namespace {

using Api = const TeskalAPI&;
using Stop = std::stop_token;

/// One call, run to its end; how it failed, empty when it gave what was expected.
using Call = std::function<QString(const ApiClient&)>;

template<typename Body, typename Value>
Call callOf(Body body, Value expected) {
    return [body, expected](const ApiClient& client) {
        auto call = start([&](std::stop_token stop) { return body(client.api, std::move(stop)); });
        const auto end = ended(call);
        return !end.value ? end.failure : *end.value == expected ? QString() : u"another value"_qs;
    };
}

} // namespace

Q_DECLARE_METATYPE(Call)

/// What each call about the account sends, and what it makes of the reply.
class TestAccountCalls final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void calls_data();
    void calls() {
        FETCH(Call, call, int, status, QByteArray, reply);
        RawHttpServer server(RawReply::complete(status, reply));
        const ApiClient client(server.url());
        QTEST(call(client), "failure");
        QTEST(onlyRequest(server), "request");
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
        RawHttpServer server(RawReply::complete(200, "seen"));
        const ApiClient client(server.url());
        const PassthroughReply reply = waitFor(
            [&](std::stop_token stop) { return client.api.passthrough(path, method, std::nullopt, stop); });
        if (target == u"-") {
            const PassthroughReply refused{403, u"application/json"_qs,
                                           QStringLiteral(R"({"error":"Not allowed"})")};
            QVERIFY(reply == refused);
            QCOMPARE(server.connectionCount(), 0);
            QCOMPARE(client.tokensGiven, 0);
        } else {
            QCOMPARE(reply.body, u"seen"_qs);
            QCOMPARE(onlyRequest(server), method + QLatin1Char(' ') + target);
        }
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
        RawHttpServer server(raw);
        const ApiClient client(server.url());
        const PassthroughReply reply = waitFor([&](std::stop_token stop) {
            return client.api.passthrough(u"/api/unfurl"_qs, u"GET"_qs, QStringLiteral(R"({"b":1})"), stop);
        });
        QTEST(reply.status, "status");
        QTEST(reply.contentType, "contentType");
        QTEST(reply.body, "body");
        QCOMPARE(onlyRequest(server), QStringLiteral(R"(GET /api/unfurl {"b":1})"));
    }
};

// Outside of the class: the meta-object compiler does not see the ends of these raw strings.
void TestAccountCalls::calls_data() {
    // failure: empty when the call gives what it expects
    const auto row =
        columns<Call, QString, int, QByteArray, QString>("call", "request", "status", "reply", "failure");
    const auto billing = [](Billing expected, bool fresh = false) {
        return callOf([fresh](Api api, Stop stop) { return api.billing(fresh, stop); }, std::move(expected));
    };
    row("billing", billing({true, 1200, 0.25, u"e"_qs}), "GET /api/billing", 200,
        R"({"enabled": true, "balance": 1200.0, "creditUsd": 0.25, "error": "e"})");
    row("billing, fresh", billing({}, true), "GET /api/billing?fresh", 200, R"({"enabled": false})");
    row("half a credit", billing({}), "GET /api/billing", 200, R"({"enabled": true, "balance": 0.5})",
        "JSON");

    const Call checkout = callOf([](Api api, Stop stop) { return api.checkout(500, stop); },
                                 QUrl(u"https://pay.example/c?a=b"_qs));
    const char* purchase = R"(POST /api/billing {"credits":500,"returnTo":"/chat"})";
    const char* noPage = "API 502 -: Could not start checkout.";
    row("checkout", checkout, purchase, 200, R"({"url": "https://pay.example/c?a=b"})");
    row("checkout without a page", checkout, purchase, 200, "{}", noPage);
    row("checkout at a file", checkout, purchase, 200, R"({"url": "file:///etc/passwd"})", noPage);
    row("checkout without JSON", checkout, purchase, 200, "https://pay.example", noPage);

    const APIKeyList list{{{u"k"_qs, u"n"_qs, u"tkl_sk_a"_qs, 1, 2.5, std::nullopt}}, true};
    row("keys", callOf([](Api api, Stop stop) { return api.listKeys(stop); }, list), "GET /api/keys", 200,
        R"({"enabled": true, "keys": [{"id": "k", "name": "n", "prefix": "tkl_sk_a", "createdAt": 1,
            "revokedAt": 2.5, "lastUsedAt": null}]})");
    const NewAPIKey key{u"k"_qs, std::nullopt, u"tkl_sk_abc"_qs};
    row("new key", callOf([](Api api, Stop stop) { return api.createKey(u"My \"key\""_qs, stop); }, key),
        R"(POST /api/keys {"name":"My \"key\""})", 201, R"({"secret": "tkl_sk_abc", "id": "k"})");
    const Call revoke = callOf([](Api api, Stop stop) { return api.revokeKey(u"k-1"_qs, stop); }, true);
    row("revoked key", revoke, R"(DELETE /api/keys {"id":"k-1"})", 204, "");
    row("unknown key", revoke, R"(DELETE /api/keys {"id":"k-1"})", 404, "",
        "API 404 -: Request failed (404)");

    const QList<PoolModel> pool{{u"a"_qs, u"A"_qs, u"L"_qs, Health{9, 0.5, 0}},
                                {u"b"_qs, u"B"_qs, std::nullopt, std::nullopt}};
    row("pool", callOf([](Api api, Stop stop) { return api.pool(stop); }, pool), "GET /api/routes", 200,
        R"({"pool": [{"id": "a", "name": "A", "lab": "L", "health": {"samples": 9, "ttft": 0.5,
            "errorRate": 0}}, {"id": "b", "name": "B"}]})");

    const auto settings = [](SettingsReply expected) {
        return callOf([](Api api, Stop stop) { return api.settings(stop); }, std::move(expected));
    };
    const ModelOption option{u"o"_qs, {u"x"_qs, u"z"_qs}, u"O"_qs, u"L"_qs, u"text"_qs};
    row("settings", settings({{true, {u"x"_qs, u"y"_qs}}, {option}, 3, false}), "GET /api/settings", 200,
        R"({"settings": {"anonymize": true, "disabledModels": ["x", "y"]}, "anonymizeCredits": 3,
            "enabled": false,
            "models": [{"id": "o", "ids": ["x", "z"], "name": "O", "lab": "L", "kind": "text"}]})");
    row("least settings", settings({}), "GET /api/settings", 200,
        R"({"settings": {"anonymize": false, "disabledModels": []}, "models": []})");
    const auto save = [](std::optional<bool> anonymize, std::optional<QStringList> models) {
        return callOf([=](Api api, Stop stop) { return api.saveSettings(anonymize, models, stop); },
                      AccountSettings{true, {u"m"_qs}});
    };
    const QByteArray saved = R"({"settings": {"anonymize": true, "disabledModels": ["m"]}})";
    row("save one", save(true, std::nullopt), R"(PUT /api/settings {"anonymize":true})", 200, saved);
    row("save the other", save(std::nullopt, QStringList()), R"(PUT /api/settings {"disabledModels":[]})",
        200, saved);

    row("transcribe",
        callOf([](Api api, Stop stop) { return api.transcribe("RIFF", u"audio/wav"_qs, stop); }, u"Grüße"_qs),
        "POST /api/transcribe no JSON: RIFF", 200, R"({"text": "Grüße"})");
    const QByteArray bytes("\0\xFF{", 3);
    row("speech", callOf([](Api api, Stop stop) { return api.speech(u"Say\nit"_qs, stop); }, bytes),
        R"(POST /api/speech {"text":"Say\nit"})", 200, bytes);
}

QTEST_GUILESS_MAIN(TestAccountCalls)
#include "TestAccountCalls.moc"
